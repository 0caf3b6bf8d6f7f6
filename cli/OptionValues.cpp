// SPDX-License-Identifier: MIT
#include "cli/OptionValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fmt/format.h>
#include <limits>

#include "base/Text.h"

namespace tolvane {

namespace {

constexpr std::string_view kBreaks("\r\n\0", 3);

// With these a server may send something other than the whole file as it is stored, or client and
// server may disagree on where the message ends.
constexpr std::array<std::string_view, 18> kReservedFields{
    "Accept-Encoding",
    "Connection",
    "Content-Length",
    "Expect",
    "Host",
    "HTTP2-Settings",
    "If-Match",
    "If-None-Match",
    "If-Modified-Since",
    "If-Range",
    "If-Unmodified-Since",
    "Keep-Alive",
    "Range",
    "Proxy-Connection",
    "TE",
    "Trailer",
    "Upgrade",
    "Transfer-Encoding",
};

bool isTokenCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isReserved(std::string_view name) {
  return std::ranges::any_of(kReservedFields, [name](std::string_view reserved) {
    return equalsIgnoringASCIICase(name, reserved);
  });
}

}  // namespace

std::string userAgentFault(std::string_view text) {
  return text.find_first_of(kBreaks) == std::string_view::npos ? "" : "holds a line break";
}

std::string headerFieldFault(std::string_view text) {
  const std::size_t colon = text.find(':');
  const std::string_view name = text.substr(0, colon);
  if (colon == std::string_view::npos || name.empty() ||
      !std::ranges::all_of(name, isTokenCharacter)) {
    return "not of the form 'Name: value'";
  }
  if (isReserved(name)) return fmt::format("{} is not for you to set", name);
  return text.find_first_of(kBreaks) == std::string_view::npos ? "" : "holds a line break";
}

HeaderFields::value_type headerField(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";  // around a value; no part of it (RFC 9110)
  const std::size_t colon = text.find(':');
  std::string_view value = text.substr(colon + 1);
  value.remove_prefix(std::min(value.find_first_not_of(kBlanks), value.size()));
  value = value.substr(0, value.find_last_not_of(kBlanks) + 1);
  return {std::string(text.substr(0, colon)), std::string(value)};
}

std::optional<std::uint64_t> byteCount(std::string_view text) {
  constexpr std::string_view kSuffixes = "KMG";
  unsigned shift = 0;
  if (!text.empty()) {
    const char last = text.back() >= 'a' ? static_cast<char>(text.back() - 'a' + 'A') : text.back();
    const std::size_t power = kSuffixes.find(last);
    if (power != std::string_view::npos) {
      shift = 10 * (static_cast<unsigned>(power) + 1);
      text.remove_suffix(1);
    }
  }
  std::uint64_t count = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, count);
  if (failure != std::errc() || stop != end || count == 0) return std::nullopt;
  if (count > std::numeric_limits<std::uint64_t>::max() >> shift) return std::nullopt;
  return count << shift;
}

}  // namespace tolvane
