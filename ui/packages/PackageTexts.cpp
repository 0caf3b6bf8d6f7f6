// SPDX-License-Identifier: MIT
#include "ui/packages/PackageTexts.h"

#include <array>
#include <utility>

#include "base/ByteCount.h"
#include "base/Text.h"

namespace tolvane {

namespace {

using Field = PackageEntry::Field;
using NamedField = std::pair<std::string_view, Field>;

constexpr std::array kSortFields{
    NamedField{"displayName", Field::displayName},
    NamedField{"packageName", Field::packageName},
    NamedField{"version", Field::version},
    NamedField{"architecture", Field::architecture},
    NamedField{"section", Field::section},
    NamedField{kDescriptionColumn, Field::packageDescription},
    NamedField{"filename", Field::filename},
    NamedField{kSizeColumn, Field::size},
};

constexpr std::array kAlwaysShown{
    NamedField{"Name", Field::displayName},  NamedField{"Identifier", Field::packageName},
    NamedField{"Version", Field::version},   NamedField{"Architecture", Field::architecture},
    NamedField{"Section", Field::section},   NamedField{"Size", Field::size},
    NamedField{"Filename", Field::filename},
};

constexpr std::array kShownWhenThere{
    NamedField{"Author", Field::author},       NamedField{"Maintainer", Field::maintainer},
    NamedField{"Depends", Field::depends},     NamedField{"Homepage", Field::homepage},
    NamedField{"Depiction", Field::depiction}, NamedField{"MD5", Field::md5sum},
    NamedField{"SHA256", Field::sha256},
};

void addLine(std::string& text, std::string_view heading, std::string_view value) {
  text.append(heading).append(": ").append(value).append("\n");
}

}  // namespace

std::string_view stringValueForPackage(const PackageEntry& package, std::string_view key) {
  for (const auto& [name, field] : kSortFields) {
    if (name == key) return package.text(field);
  }
  return {};
}

std::string cellText(const PackageEntry& package, std::string_view key) {
  if (key == kSizeColumn) return formattedByteCount(integerValue(package.size()));
  return std::string(stringValueForPackage(package, key));
}

std::string detailsText(const PackageEntry& package) {
  std::string text;
  for (const auto& [heading, field] : kAlwaysShown) addLine(text, heading, package.text(field));
  for (const auto& [heading, field] : kShownWhenThere) {
    if (!package.text(field).empty()) addLine(text, heading, package.text(field));
  }
  if (!package.packageDescription().empty()) {
    text.append("\nDescription:\n").append(package.packageDescription()).append("\n");
  }
  return text;
}

}  // namespace tolvane
