// SPDX-License-Identifier: MIT
#include "archive_client/AnswerEncoding.h"

#include <cstddef>
#include <cstdint>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace tolvane {

namespace {

using namespace std::string_view_literals;

struct Encoding {
  std::size_t unitSize = 1;
  bool bigEndian = false;
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
  if (bytes.starts_with("\xFF\xFE\0\0"sv)) return {4, false, 4};
  if (bytes.starts_with("\0\0\xFE\xFF"sv)) return {4, true, 4};
  if (bytes.starts_with("\xFF\xFE")) return {2, false, 2};
  if (bytes.starts_with("\xFE\xFF")) return {2, true, 2};
  if (beginsLike(bytes, "000x")) return {4, true};
  if (beginsLike(bytes, "x000")) return {4, false};
  if (beginsLike(bytes, "0x")) return {2, true};
  if (beginsLike(bytes, "x0")) return {2, false};
  return {};
}

// Reads the code units one after another.
class UnitReader {
 public:
  UnitReader(std::string_view bytes, const Encoding& encoding)
      : bytes_(bytes), encoding_(encoding) {}

  bool atEnd() const { return bytes_.empty(); }

  // No value where less than a code unit is left.
  std::optional<std::uint32_t> take() {
    const std::size_t size = encoding_.unitSize;
    if (bytes_.size() < size) return std::nullopt;
    std::uint32_t unit = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t at = encoding_.bigEndian ? i : size - 1 - i;
      unit = unit << 8 | static_cast<unsigned char>(bytes_[at]);
    }
    bytes_.remove_prefix(size);
    return unit;
  }

 private:
  std::string_view bytes_;
  Encoding encoding_;
};

std::optional<std::uint32_t> takeCharacter(UnitReader& units, std::size_t unitSize) {
  const auto unit = units.take();
  if (!unit || !U_IS_SURROGATE(*unit)) return unit;
  if (unitSize != 2 || !U16_IS_SURROGATE_LEAD(*unit)) return std::nullopt;
  const auto second = units.take();
  if (!second || !U16_IS_TRAIL(*second)) return std::nullopt;
  return U16_GET_SUPPLEMENTARY(*unit, *second);
}

}  // namespace

bool isWideJSON(std::string_view bytes) {
  return encodingOf(bytes).unitSize > 1;
}

std::optional<std::string> transcodedJSON(std::string_view bytes) {
  const Encoding encoding = encodingOf(bytes);
  if (encoding.unitSize == 1) return std::string(bytes);
  UnitReader units(bytes.substr(encoding.markSize), encoding);
  std::string text;
  text.reserve(bytes.size() / encoding.unitSize);
  while (!units.atEnd()) {
    const auto character = takeCharacter(units, encoding.unitSize);
    if (!character || *character > 0x10FFFF) return std::nullopt;
    char encoded[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(encoded, length, *character);
    text.append(encoded, length);
  }
  return text;
}

}  // namespace tolvane
