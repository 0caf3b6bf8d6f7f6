// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// By which column, and in which direction, the table is to be sorted.
struct SortDescriptor {
  std::string key;
  bool ascending = true;

  bool operator==(const SortDescriptor&) const = default;
};

// A sorted copy; packages that compare equal keep their order. Sizes compare as unsigned 64-bit
// numbers, so a negative one is above all others; every other key compares as text, by the rules of
// the user's language and ignoring case.
std::vector<PackageEntry> sortedPackages(const std::vector<PackageEntry>& packages,
                                         const SortDescriptor& descriptor);

}  // namespace tolvane
