// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>

#include "cli/Console.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Says how many files the packages of a missing scan are, how many bytes these have by the index,
// and how many the folder's file system has free; a warning where that is too little.
void reportSpace(std::span<const PackageEntry> missing, const std::string& folder,
                 Console& console);

}  // namespace tolvane
