// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// For each entry the first package of the list with its "identifier" and "version", in the order of
// the entries. An absent member counts as ""; an entry that is no object, or in which one of the
// two is no text, matches nothing.
std::vector<PackageEntry> packagesForEntries(const std::vector<nlohmann::json>& entries,
                                             const std::vector<PackageEntry>& packages);

}  // namespace tolvane
