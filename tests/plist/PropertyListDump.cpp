// SPDX-License-Identifier: MIT
#include "tests/plist/PropertyListDump.h"

#include <cstdio>
#include <fmt/format.h>
#include <regex>

namespace tolvane {

namespace {

std::string inQuotes(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    const bool isPlain = c >= ' ' && c <= '~' && c != '"' && c != '\\';
    result += isPlain ? std::string(1, c) : fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
  }
  return result + "\"";
}

std::string number(double value) {
  char digits[40];
  std::snprintf(digits, sizeof digits, "%.17g", value);
  return digits;
}

struct Dumper {
  std::string operator()(std::monostate) const { return "null"; }
  std::string operator()(bool value) const { return value ? "true" : "false"; }
  std::string operator()(PropertyList::Integer value) const { return std::to_string(value); }
  std::string operator()(PropertyList::LargeInteger value) const { return std::to_string(value); }
  std::string operator()(PropertyList::Real real) const { return number(real.value) + "r"; }
  std::string operator()(PropertyList::Date date) const { return "date " + number(date.seconds); }
  std::string operator()(const std::string& text) const { return inQuotes(text); }
  std::string operator()(const PropertyList::Data& data) const {
    std::string result = "<";
    for (const char c : data.bytes) {
      result += fmt::format("{:02x}", static_cast<unsigned char>(c));
    }
    return result + ">";
  }
  std::string operator()(const PropertyList::List& list) const {
    std::string result;
    for (const auto& member : list) result += (result.empty() ? "" : ",") + dump(member);
    return "[" + result + "]";
  }
  std::string operator()(const PropertyList::Dictionary& dictionary) const {
    std::string result;
    for (const auto& [key, value] : dictionary.entries) {
      result += (result.empty() ? "" : ",") + inQuotes(key) + "=" + dump(value);
    }
    return "{" + result + "}";
  }
};

}  // namespace

std::string dump(const PropertyList& list) {
  return std::visit(Dumper{}, list.value);
}

std::string dumpOf(std::string_view bytes) {
  const PropertyListResult result = readPropertyList(bytes);
  return result.value ? dump(*result.value) : "error: " + result.error->description;
}

std::string unreadable(std::string_view what) {
  return fmt::format("error: The property list cannot be read: {}.", what);
}

std::string lineOfError(std::string_view bytes) {
  static const std::regex form(R"(error: The property list cannot be read: .+ at line (\d+)\.)");
  std::smatch parts;
  const std::string found = dumpOf(bytes);
  return std::regex_match(found, parts, form) ? parts[1].str() : "";
}

}  // namespace tolvane
