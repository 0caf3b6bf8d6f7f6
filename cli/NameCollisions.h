// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/URL.h"
#include "cli/Console.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Warns of packages that cannot all be kept in one folder on every file system: two that have the
// same file name and different addresses, two whose file names differ by case alone, and one whose
// file name is that of a metadata file or of a folder for these. With identifiers, only of
// collisions in which one of these packages takes part. 20 lines at most, then "and N more".
void warnOfNameCollisions(std::span<const PackageEntry> packages,
                          const std::vector<std::string>& identifiers, const URL& repositoryURL,
                          Console& console);

}  // namespace tolvane
