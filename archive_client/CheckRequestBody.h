// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"

// Internal to this folder.
namespace tolvane {

// The JSON of a check request: what a repository has. No value where a string is not UTF-8, or
// where there is no memory for it.
std::optional<std::string> checkRequestBody(std::string_view repositoryURL,
                                            std::string_view repositoryType,
                                            const std::vector<PackageEntry>& packages);

// The address that a record gives: its download URL, or else its path below the repository.
std::string_view originalURLOf(const PackageEntry& package);

}  // namespace tolvane
