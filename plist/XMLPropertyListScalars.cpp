// SPDX-License-Identifier: MIT
#include <charconv>
#include <chrono>
#include <limits>

#include "base/Text.h"
#include "plist/PropertyListReaders.h"

namespace tolvane {

namespace {

using Value = PropertyList::Value;

template <typename Number>
std::optional<Number> wholeNumber(std::string_view digits, int base) {
  Number number = 0;
  const auto end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, number, base);
  if (read.ec != std::errc{} || read.ptr != end) return std::nullopt;
  return number;
}

// Takes the sign off the text.
bool takeSign(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  return isNegative;
}

// The number of the two or four digits at the position, -1 if they are not all digits.
int digitsAt(std::string_view text, std::size_t at, std::size_t count) {
  const auto number = wholeNumber<unsigned>(text.substr(at, count), 10);
  return number ? static_cast<int>(*number) : -1;
}

int base64Value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

}  // namespace

Value xmlInteger(std::string_view text) {
  text = trimWhitespaceAndNewlines(text);
  const bool isNegative = takeSign(text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (isHexadecimal) text.remove_prefix(2);
  const auto magnitude = wholeNumber<std::uint64_t>(text, isHexadecimal ? 16 : 10);
  constexpr auto kLargest = std::uint64_t{std::numeric_limits<std::int64_t>::max()};
  if (!magnitude) return {};
  if (isNegative && *magnitude > kLargest + 1) return {};
  if (isNegative) return static_cast<PropertyList::Integer>(-*magnitude);
  if (*magnitude > kLargest) return PropertyList::LargeInteger{*magnitude};
  return static_cast<PropertyList::Integer>(*magnitude);
}

Value xmlReal(std::string_view text) {
  text = trimWhitespaceAndNewlines(text);
  const bool isNegative = takeSign(text);
  double number = 0;
  const auto end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (text.starts_with('-') || read.ec != std::errc{} || read.ptr != end) return {};
  return PropertyList::Real{isNegative ? -number : number, false};
}

// YYYY-MM-DDThh:mm:ssZ of ISO 8601.
Value xmlDate(std::string_view text) {
  using namespace std::chrono;
  text = trimWhitespaceAndNewlines(text);
  if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
      text[16] != ':' || text[19] != 'Z') {
    return {};
  }
  const auto part = [text](std::size_t at) { return digitsAt(text, at, 2); };
  const int yearNumber = digitsAt(text, 0, 4);
  const int monthNumber = part(5), dayNumber = part(8);
  if (yearNumber < 0 || monthNumber < 0 || dayNumber < 0) return {};
  const year_month_day date(year{yearNumber}, month{static_cast<unsigned>(monthNumber)},
                            day{static_cast<unsigned>(dayNumber)});
  const int hour = part(11), minute = part(14), second = part(17);
  const bool isTime = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0;
  if (!date.ok() || !isTime || second > 60) return {};
  const auto since = sys_days(date) - sys_days(2001y / January / 1) + hours(hour) +
                     minutes(minute) + seconds(second);
  return PropertyList::Date{static_cast<double>(seconds(since).count())};
}

// Base64 of RFC 4648. White space anywhere and missing "=" at the end are passed over.
Value xmlData(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  unsigned bits = 0;
  std::size_t digits = 0, padding = 0;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const int digit = base64Value(c);
    if (digit < 0 || padding > 0) return {};
    bits = bits << 6 | static_cast<unsigned>(digit);
    if (digits++ % 4 != 0) bytes += static_cast<char>(bits >> (6 - 2 * ((digits - 1) % 4)));
  }
  if (digits % 4 == 1 || padding > 2) return {};
  return PropertyList::Data{std::move(bytes)};
}

}  // namespace tolvane
