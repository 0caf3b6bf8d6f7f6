// SPDX-License-Identifier: MIT
#include "ui/packages/CollationKeys.h"

#include <algorithm>
#include <cstddef>
#include <unicode/ucol.h>
#include <unicode/unistr.h>

#include "base/TextCase.h"

namespace tolvane {

CollationKeys::CollationKeys(const std::string& language) : rules_(nullptr, ucol_close) {
  UErrorCode status = U_ZERO_ERROR;
  rules_.reset(ucol_open(language.c_str(), &status));
  ucol_setAttribute(rules_.get(), UCOL_STRENGTH, UCOL_SECONDARY, &status);  // whatever the case
  ucol_setAttribute(rules_.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
  if (U_FAILURE(status)) rules_.reset();
}

CollationKey CollationKeys::keyOf(std::string_view text) {
  if (rules_ == nullptr) {
    const std::string small = lowercased(text);
    bytes_.assign(small.begin(), small.end());
    return keyOfBytes(bytes_);
  }
  const auto utf16 =
      icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
  const std::u16string_view string(utf16.getBuffer(), static_cast<std::size_t>(utf16.length()));
  std::size_t size = writeKey(string);
  if (size > bytes_.size()) {
    bytes_.resize(size);
    size = writeKey(string);
  }
  return keyOfBytes({bytes_.data(), size});
}

CollationKey CollationKeys::keyOfBytes(std::span<const std::uint8_t> bytes) {
  CollationKey key{};
  constexpr std::size_t kHead = sizeof key.head;
  for (std::size_t i = 0; i < std::min(bytes.size(), kHead); ++i) {
    key.head[i / 8] |= std::uint64_t{bytes[i]} << (56 - i % 8 * 8);
  }
  if (bytes.size() > kHead) {
    auto* const rest = static_cast<char*>(memory_.allocate(bytes.size() - kHead, 1));
    std::copy(bytes.begin() + kHead, bytes.end(), rest);
    key.rest = {rest, bytes.size() - kHead};
  }
  return key;
}

// Returns how much room the key takes, or would take.
std::size_t CollationKeys::writeKey(std::u16string_view string) {
  return static_cast<std::size_t>(
      ucol_getSortKey(rules_.get(), string.data(), static_cast<std::int32_t>(string.size()),
                      bytes_.data(), static_cast<std::int32_t>(bytes_.size())));
}

}  // namespace tolvane
