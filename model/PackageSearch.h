// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "model/PackageEntry.h"

namespace tolvane {

// Whether one of the fields that are searched contains the query, which is in lower case.
bool packageEntryMatchesSearchQuery(const PackageEntry& package, std::string_view query);

// What a person types to find packages: one text, not split into words, that is looked for in the
// name, identifier, description, section, author, maintainer, filename and version, whatever the
// case of the letters. White space around it does not count, and an empty one finds everything.
class PackageSearch {
 public:
  explicit PackageSearch(std::string_view query);

  bool matches(const PackageEntry& package) const {
    return packageEntryMatchesSearchQuery(package, query_);
  }

 private:
  std::string query_;  // trimmed and in lower case
};

}  // namespace tolvane
