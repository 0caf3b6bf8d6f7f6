// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "base/URL.h"
#include "model/PackageEntry.h"

namespace tolvane {

// The repository that the workflows work on. Its owner may replace the members while a workflow
// runs: each step reads what is here when it needs it. Main thread.
struct LoadedRepository {
  std::vector<PackageEntry> packages;  // all of them, in the order of the index
  std::optional<URL> url;              // set when a fetch starts, before the packages are there
};

}  // namespace tolvane
