// SPDX-License-Identifier: MIT
#include "ui/PackageSorting.h"

#include <QLocale>
#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <memory_resource>
#include <unicode/coll.h>
#include <utility>

#include "platform/Text.h"
#include "ui/PackageTexts.h"

namespace tolvane {

namespace {

// A process without a language compares by code point, which nobody calls sorted; it sorts as
// English does.
icu::Locale sortingLocale() {
  const QLocale locale;
  if (locale.language() == QLocale::C) return icu::Locale::getEnglish();
  return icu::Locale(locale.name().toLatin1().constData());
}

// Where a text stands among others by the rules of a language: bytes that compare so. The first of
// them are in the key itself, where most comparisons end.
struct TextKey {
  std::array<std::uint64_t, 2> head;
  std::string_view rest;

  auto operator<=>(const TextKey&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
};

// Makes such keys, which last as long as it does.
class TextKeyMaker {
 public:
  TextKeyMaker() {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(icu::Collator::createInstance(sortingLocale(), status));
    collator_->setStrength(icu::Collator::SECONDARY);  // whatever the case
    collator_->setAttribute(UCOL_NORMALIZATION_MODE, UCOL_ON, status);
  }

  TextKey keyOf(std::string_view text) {
    const auto string =
        icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    std::size_t size = writeKey(string);
    if (size > bytes_.size()) {
      bytes_.resize(size);
      size = writeKey(string);
    }
    TextKey key{};
    constexpr std::size_t kHead = sizeof key.head;
    for (std::size_t i = 0; i < std::min(size, kHead); ++i) {
      key.head[i / 8] |= std::uint64_t{bytes_[i]} << (56 - i % 8 * 8);
    }
    if (size > kHead) {
      auto* const rest = static_cast<char*>(memory_.allocate(size - kHead, 1));
      std::copy(bytes_.begin() + kHead, bytes_.begin() + static_cast<std::ptrdiff_t>(size), rest);
      key.rest = {rest, size - kHead};
    }
    return key;
  }

 private:
  // Returns how much room the key takes, or would take.
  std::size_t writeKey(const icu::UnicodeString& string) {
    return static_cast<std::size_t>(
        collator_->getSortKey(string, bytes_.data(), static_cast<std::int32_t>(bytes_.size())));
  }

  std::unique_ptr<icu::Collator> collator_;
  std::vector<std::uint8_t> bytes_ = std::vector<std::uint8_t>(256);
  std::pmr::monotonic_buffer_resource memory_;
};

std::uint64_t sizeKey(const PackageEntry& package) {
  return static_cast<std::uint64_t>(integerValue(package.size()));
}

// Sorts by keys that are made once a package: comparing is far cheaper than making a key.
template <typename MakeKey>
std::vector<PackageEntry> sortedByKeys(const std::vector<PackageEntry>& packages, bool ascending,
                                       MakeKey makeKey) {
  using Key = decltype(makeKey(packages.front()));
  std::vector<std::pair<Key, std::uint32_t>> rows;
  rows.reserve(packages.size());
  for (const PackageEntry& package : packages) {
    rows.emplace_back(makeKey(package), static_cast<std::uint32_t>(rows.size()));
  }
  std::stable_sort(rows.begin(), rows.end(), [&](const auto& left, const auto& right) {
    return ascending ? left.first < right.first : right.first < left.first;
  });
  std::vector<PackageEntry> sorted;
  sorted.reserve(packages.size());
  for (const auto& [key, row] : rows) sorted.push_back(packages[row]);
  return sorted;
}

}  // namespace

std::vector<PackageEntry> sortedPackages(const std::vector<PackageEntry>& packages,
                                         const SortDescriptor& descriptor) {
  if (descriptor.key == kSizeColumn) return sortedByKeys(packages, descriptor.ascending, sizeKey);
  TextKeyMaker keys;
  return sortedByKeys(packages, descriptor.ascending, [&](const PackageEntry& package) {
    return keys.keyOf(stringValueForPackage(package, descriptor.key));
  });
}

}  // namespace tolvane
