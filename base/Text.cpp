// SPDX-License-Identifier: MIT
#include "base/Text.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "base/UTF8.h"

namespace tolvane {

namespace {

// Both predicates take the UTF-8 bytes of one character.
bool isBlank(std::string_view character) {
  if (character.size() == 1) return character[0] == ' ' || character[0] == '\t';
  if (character.size() == 2) return character == "\u00A0";
  if (character >= "\u2000" && character <= "\u200A") return character.size() == 3;
  return character == "\u1680" || character == "\u202F" || character == "\u205F" ||
         character == "\u3000";
}

bool isWhitespaceOrNewline(std::string_view character) {
  if (character.size() == 1 && character[0] >= '\n' && character[0] <= '\r') return true;
  return character == "\u0085" || character == "\u2028" || character == "\u2029" ||
         isBlank(character);
}

template <typename Predicate>
std::string_view trimFront(std::string_view text, Predicate predicate) {
  while (!text.empty()) {
    const std::string_view character = firstCharacter(text);
    if (!predicate(character)) break;
    text.remove_prefix(character.size());
  }
  return text;
}

template <typename Predicate>
std::string_view trim(std::string_view text, Predicate predicate) {
  text = trimFront(text, predicate);
  while (!text.empty()) {
    const std::string_view character = lastCharacter(text);
    if (!predicate(character)) break;
    text.remove_suffix(character.size());
  }
  return text;
}

char lowerASCII(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::string_view trimBlanks(std::string_view text) {
  return trim(text, isBlank);
}

std::string_view trimWhitespaceAndNewlines(std::string_view text) {
  return trim(text, isWhitespaceOrNewline);
}

std::int64_t integerValue(std::string_view text) {
  text = trimFront(text, isBlank);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const std::string_view digits = text.substr(0, text.find_first_not_of("0123456789"));
  std::uint64_t magnitude = 0;
  const auto [end, failure] =
      std::from_chars(digits.data(), digits.data() + digits.size(), magnitude);
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (failure == std::errc::result_out_of_range || magnitude > kMost) {
    return negative ? std::numeric_limits<std::int64_t>::min()
                    : std::numeric_limits<std::int64_t>::max();
  }
  const auto value = static_cast<std::int64_t>(magnitude);
  return negative ? -value : value;
}

bool booleanValue(std::string_view text) {
  text = trimFront(text, isBlank);
  return !text.empty() && std::string_view("YyTt123456789").find(text[0]) != std::string_view::npos;
}

bool equalsIgnoringASCIICase(std::string_view left, std::string_view right) {
  return std::ranges::equal(left, right, {}, lowerASCII, lowerASCII);
}

}  // namespace tolvane
