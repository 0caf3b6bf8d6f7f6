// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

inline PackageEntry makePackage(const PackageEntry::Dictionary& fields) {
  return PackageEntry(fields);
}

// Packages "p0", "p1", ... named "Package 0", ..., with everything that the table shows.
inline std::vector<PackageEntry> makePackages(std::size_t count) {
  std::vector<PackageEntry> packages;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    packages.push_back(makePackage({{"Package", "p" + number},
                                    {"Name", "Package " + number},
                                    {"Version", "1." + number},
                                    {"Architecture", "iphoneos-arm"},
                                    {"Section", "Tweaks"},
                                    {"Filename", "debs/p" + number + ".deb"},
                                    {"Size", std::to_string(1000 * i)},
                                    {"Description", "Does one thing"}}));
  }
  return packages;
}

inline std::vector<std::string> identifiersOf(const std::vector<PackageEntry>& packages) {
  std::vector<std::string> identifiers;
  for (const PackageEntry& package : packages) identifiers.emplace_back(package.packageName());
  return identifiers;
}

}  // namespace tolvane
