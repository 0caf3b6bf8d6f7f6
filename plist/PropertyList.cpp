// SPDX-License-Identifier: MIT
#include "plist/PropertyList.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <new>
#include <type_traits>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include "plist/PropertyListReaders.h"

namespace tolvane {

namespace {

// std::to_chars formats as printf does in the "C" locale, whatever locale Qt has set.
std::string textFormOf(const PropertyList::Real& real) {
  char digits[32];
  const int precision = real.fourBytes ? 7 : 16;
  const auto end = std::to_chars(digits, digits + sizeof digits, real.value,
                                 std::chars_format::general, precision);
  return std::string(digits, end.ptr);
}

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr char16_t kReplacement = u'\uFFFD';
constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";

// An old-style list may begin with "<" too, as data: hexadecimal digits between "<" and ">".
bool looksLikeXML(std::string_view text) {
  if (!text.starts_with('<')) return false;
  const std::size_t end = text.find_first_not_of("0123456789abcdefABCDEF \t\n\v\f\r", 1);
  return end != std::string_view::npos && text[end] != '>';
}

// UTF-16 begins with its byte-order mark, or, in XML without one, with "<" and a zero byte.
std::optional<std::string> transcodedFromUTF16(std::string_view bytes) {
  using std::string_view_literals::operator""sv;
  if (bytes.starts_with("\xFE\xFF")) return textFromUTF16(bytes.substr(2), true);
  if (bytes.starts_with("\xFF\xFE")) return textFromUTF16(bytes.substr(2), false);
  if (bytes.starts_with("\0<"sv)) return textFromUTF16(bytes, true);
  if (bytes.starts_with("<\0"sv)) return textFromUTF16(bytes, false);
  return std::nullopt;
}

PropertyListResult readMarkupOrText(std::string_view bytes, bool transcoded) {
  const std::size_t start = std::min(bytes.find_first_not_of(kWhiteSpace), bytes.size());
  const std::string_view markup = bytes.substr(start);
  if (!looksLikeXML(markup)) return readTextPropertyList(bytes);
  const std::string_view before = bytes.substr(0, start);
  const auto lines = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
  return readXMLPropertyList(markup, transcoded, lines);
}

PropertyListResult readAnyFormat(std::string_view bytes) {
  if (bytes.empty()) return {std::nullopt, propertyListErrorAtOffset("there are no bytes", 0)};
  if (bytes.starts_with("bplist")) return readBinaryPropertyList(bytes);
  if (bytes.starts_with(kUTF8Mark)) return readMarkupOrText(bytes.substr(kUTF8Mark.size()), true);
  if (const auto text = transcodedFromUTF16(bytes)) return readMarkupOrText(*text, true);
  return readMarkupOrText(bytes, false);
}

Error propertyListError(std::string description) {
  return {std::string(kPropertyListErrorDomain), kPropertyListReadCorruptError,
          std::move(description)};
}

}  // namespace

const PropertyList* PropertyList::Dictionary::find(std::string_view key) const {
  const auto entry = std::find_if(entries.rbegin(), entries.rend(),
                                  [key](const Entry& each) { return each.key == key; });
  return entry == entries.rend() ? nullptr : &entry->value;
}

std::optional<std::string> PropertyList::textForm() const {
  if (const auto* held = std::get_if<std::string>(&value)) return *held;
  if (const auto* held = std::get_if<Integer>(&value)) return std::to_string(*held);
  if (const auto* held = std::get_if<LargeInteger>(&value)) return std::to_string(*held);
  if (const auto* held = std::get_if<bool>(&value)) return *held ? "1" : "0";
  if (const auto* held = std::get_if<Real>(&value)) return textFormOf(*held);
  return std::nullopt;
}

std::string textFormOrNothing(const PropertyList* value) {
  return value ? value->textForm().value_or("") : "";
}

PropertyListResult readPropertyList(std::string_view bytes) {
  try {
    return readAnyFormat(bytes);
  } catch (const std::bad_alloc&) {
    return {std::nullopt,
            propertyListError("The property list cannot be read: there is no memory for it."),
            true};
  }
}

Error propertyListErrorAtLine(std::string_view what, std::size_t line) {
  return propertyListError(
      fmt::format("The property list cannot be read: {} at line {}.", what, line));
}

Error propertyListErrorAtOffset(std::string_view what, std::size_t offset) {
  return propertyListError(
      fmt::format("The property list cannot be read: {} at offset {}.", what, offset));
}

void appendUTF16(std::string& text, std::u16string_view units) {
  for (std::size_t i = 0; i < units.size();) {
    UChar32 character = 0;
    U16_NEXT(units.data(), i, units.size(), character);
    if (U_IS_SURROGATE(character)) character = kReplacement;
    char bytes[U8_MAX_LENGTH];
    std::size_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, character);
    text.append(bytes, length);
  }
}

std::string textFromUTF16(std::string_view bytes, bool bigEndian) {
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  if (bytes.size() % 2 != 0) units += kReplacement;
  std::string text;
  text.reserve(units.size());
  appendUTF16(text, units);
  return text;
}

}  // namespace tolvane
