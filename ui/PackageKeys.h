// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <unordered_set>

#include "model/PackageEntry.h"

namespace tolvane {

// What tells one package from another for ticking: "packageName|version|architecture|filename".
// Entries with the same four values share one tick.
std::string keyForPackage(const PackageEntry& package);

using PackageKeys = std::unordered_set<std::string>;

}  // namespace tolvane
