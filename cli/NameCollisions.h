// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/URL.h"
#include "cli/Console.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Warns of packages that cannot all be kept in one folder, or not in every one: two that have one
// file name and different addresses, two whose names differ by case alone, and one whose name is
// that of a metadata file or of the folder above it; where identifiers are given, only of those
// that one of these has a part in. 20 lines at most, then "and N more".
void warnOfNameCollisions(std::span<const PackageEntry> packages,
                          const std::vector<std::string>& identifiers, const URL& repositoryURL,
                          Console& console);

}  // namespace tolvane
