// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>

#include "cli/Console.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Reports how many files the packages of a missing scan are, how many bytes they have by the index,
// and how many bytes are free on the folder's file system; a warning if these do not suffice.
void reportSpace(std::span<const PackageEntry> missing, const std::string& folder,
                 Console& console);

}  // namespace tolvane
