// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// The figures of the statistics line for a list of packages.
struct PackageStatistics {
  std::size_t unique = 0;          // distinct identifiers that are not empty
  std::size_t architectures = 0;   // distinct architectures that are not empty
  std::int64_t estimatedSize = 0;  // sum of the sizes, clamped to 64 bits

  static PackageStatistics of(const std::vector<PackageEntry>& packages);
};

}  // namespace tolvane
