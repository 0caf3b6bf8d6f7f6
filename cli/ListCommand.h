// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <span>

#include "cli/Options.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Prints the packages that options.search finds, in their order: as a table, or with options.json
// as one array of objects.
void printPackages(std::span<const PackageEntry> packages, const Options& options,
                   std::ostream& output);

}  // namespace tolvane
