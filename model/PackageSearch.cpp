// SPDX-License-Identifier: MIT
#include "model/PackageSearch.h"

#include <algorithm>
#include <array>

#include "platform/Text.h"
#include "platform/TextCase.h"

namespace tolvane {

namespace {

constexpr std::array kSearchedFields{
    PackageEntry::Field::displayName,
    PackageEntry::Field::packageName,
    PackageEntry::Field::packageDescription,
    PackageEntry::Field::section,
    PackageEntry::Field::author,
    PackageEntry::Field::maintainer,
    PackageEntry::Field::filename,
    PackageEntry::Field::version,
};

}  // namespace

PackageSearch::PackageSearch(std::string_view query)
    : query_(lowercased(trimWhitespaceAndNewlines(query))) {}

bool PackageSearch::matches(const PackageEntry& package) const {
  if (query_.empty()) return true;
  return std::any_of(kSearchedFields.begin(), kSearchedFields.end(), [&](auto field) {
    return lowercased(package.text(field)).find(query_) != std::string::npos;
  });
}

}  // namespace tolvane
