// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// Invented records of the size and shape of a large repository's: 100,000 packages, 40 bytes of
// name, 30 of identifier, 85 of filename and on average 150 of description, one in four of them
// over several lines; 5 architectures, 40 sections, two versions of one package in ten. Some 45 MB
// of index text. The same in every run.
std::vector<PackageEntry> generatedRepository();

inline constexpr int kRepositorySize = 100'000;

}  // namespace tolvane
