// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// The JSON that tells an archive what a repository has. No value where a text is not UTF-8, or
// where there is no memory for it.
std::optional<std::string> checkRequestBody(std::string_view repositoryURL,
                                            std::string_view repositoryType,
                                            const std::vector<PackageEntry>& packages);

}  // namespace tolvane
