// SPDX-License-Identifier: MIT
#include "archive_client/AnswerEncoding.h"

#include <cstddef>
#include <cstdint>
#include <unicode/ucnv.h>

namespace tolvane {

namespace {

using namespace std::string_view_literals;

struct Encoding {
  const char* name = nullptr;  // ICU's; null for one of single bytes
  std::size_t markSize = 0;
};

// Whether the bytes begin with a zero for each "0" of the pattern, and with another byte elsewhere.
bool beginsLike(std::string_view bytes, std::string_view pattern) {
  if (bytes.size() < pattern.size()) return false;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if ((bytes[i] == 0) != (pattern[i] == '0')) return false;
  }
  return true;
}

// Without a byte-order mark: the first character of JSON is ASCII, so zeros next to it show the
// encoding.
Encoding encodingOf(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE\0\0"sv)) return {"UTF-32LE", 4};
  if (bytes.starts_with("\0\0\xFE\xFF"sv)) return {"UTF-32BE", 4};
  if (bytes.starts_with("\xFF\xFE")) return {"UTF-16LE", 2};
  if (bytes.starts_with("\xFE\xFF")) return {"UTF-16BE", 2};
  if (beginsLike(bytes, "000x")) return {"UTF-32BE"};
  if (beginsLike(bytes, "x000")) return {"UTF-32LE"};
  if (beginsLike(bytes, "0x")) return {"UTF-16BE"};
  if (beginsLike(bytes, "x0")) return {"UTF-16LE"};
  return {};
}

}  // namespace

bool isWideJSON(std::string_view bytes) {
  return encodingOf(bytes).name != nullptr;
}

std::optional<std::string> transcodedJSON(std::string_view bytes) {
  const Encoding encoding = encodingOf(bytes);
  if (encoding.name == nullptr) return std::string(bytes);
  bytes.remove_prefix(encoding.markSize);
  std::string text(bytes.size() / 2 * 3, '\0');  // two bytes of UTF-16 make three at most
  UErrorCode error = U_ZERO_ERROR;
  const icu::LocalUConverterPointer converter(ucnv_open(encoding.name, &error));
  ucnv_setToUCallBack(converter.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                      &error);
  const std::int32_t size = ucnv_toAlgorithmic(UCNV_UTF8, converter.getAlias(), text.data(),
                                               static_cast<std::int32_t>(text.size()), bytes.data(),
                                               static_cast<std::int32_t>(bytes.size()), &error);
  if (U_FAILURE(error)) return std::nullopt;
  text.resize(static_cast<std::size_t>(size));
  return text;
}

}  // namespace tolvane
