// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// Whether one of the fields that are searched contains the query, which is in lower case.
bool packageEntryMatchesSearchQuery(const PackageEntry& package, std::string_view query);

// Finds packages by what a person types: one text, not split into words, that is looked for in the
// name, identifier, description, section, author, maintainer, filename and version, whatever the
// case of the letters. White space around it does not count, and an empty one finds everything.
//
// Holds all that is searched in lower case, about 400 bytes a package, so that a search at each key
// that is pressed is one pass over one text.
class PackageSearch {
 public:
  // The packages outlive the search, unchanged.
  explicit PackageSearch(std::span<const PackageEntry> packages);

  // In the order of the packages.
  std::vector<PackageEntry> packagesMatching(std::string_view query) const;

 private:
  void append(const PackageEntry& package);

  std::span<const PackageEntry> packages_;
  std::string texts_;              // the fields of each package, a separator after each
  std::vector<std::size_t> ends_;  // of each package in the texts
};

}  // namespace tolvane
