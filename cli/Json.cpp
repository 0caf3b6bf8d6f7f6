// SPDX-License-Identifier: MIT
#include "cli/Json.h"

#include <array>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <string_view>
#include <unicode/utf8.h>

#include "base/TerminalText.h"
#include "base/UTF8.h"

namespace tolvane {

namespace {

// The string fields of the record, in the order of PackageEntry::Field.
constexpr std::array<const char*, PackageEntry::kTextCount> kTextNames{
    "packageName",    "displayName", "version",    "architecture",       "filename",
    "size",           "md5sum",      "sha256",     "packageDescription", "section",
    "depends",        "author",      "maintainer", "homepage",           "depiction",
    "packageInfoURL", "downloadURL",
};

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
  if (isPrintableASCII(plain)) return plain;
  std::string text;
  text.reserve(plain.size());
  for (std::size_t position = 0; position < plain.size();) {
    const std::size_t start = position;
    UChar32 character = 0;
    U8_NEXT(plain.data(), position, plain.size(), character);
    if (isTerminalControl(character)) {
      text += fmt::format("\\u{:04x}", character);
    } else {
      text.append(plain, start, position - start);
    }
  }
  return text;
}

}  // namespace tolvane
