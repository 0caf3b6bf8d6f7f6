// SPDX-License-Identifier: MIT
#include "cli/Json.h"

#include <array>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string_view>

namespace tolvane {

namespace {

// The texts of the record, in the order of PackageEntry::Field.
constexpr std::array<const char*, PackageEntry::kTextCount> kTextNames{
    "packageName",    "displayName", "version",    "architecture",       "filename",
    "size",           "md5sum",      "sha256",     "packageDescription", "section",
    "depends",        "author",      "maintainer", "homepage",           "depiction",
    "packageInfoURL", "downloadURL",
};

constexpr char kDelete = '\x7F';
constexpr char kLeadOfC1 = '\xC2';  // U+0080 to U+009F are this byte and one from 0x80 to 0x9F,
constexpr char kLastOfC1 = '\x9F';  // which begins no other character

}  // namespace

nlohmann::ordered_json jsonObject(const PackageEntry& package) {
  nlohmann::ordered_json object;
  object["installer4Package"] = package.installer4Package();
  object["installer3Package"] = package.installer3Package();
  for (std::size_t i = 0; i < kTextNames.size(); ++i) {
    object[kTextNames[i]] = package.text(static_cast<PackageEntry::Field>(i));
  }
  return object;
}

std::string jsonText(const nlohmann::ordered_json& value) {
  const std::string plain =
      value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  std::string text;
  text.reserve(plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const char byte = plain[i];
    if (byte == kDelete) {
      text += "\\u007f";
    } else if (byte == kLeadOfC1 && i + 1 < plain.size() && plain[i + 1] <= kLastOfC1) {
      text += fmt::format("\\u{:04x}", static_cast<unsigned char>(plain[++i]));
    } else {
      text += byte;
    }
  }
  return text;
}

}  // namespace tolvane
