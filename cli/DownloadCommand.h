// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <vector>

#include "base/URL.h"
#include "cli/Console.h"
#include "cli/Options.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Downloads the packages that options.folder lacks, or those that options.packages names, and with
// options.metadata the repository's own files. Writes the result to `output`, one line or with
// options.json one object, then the packages that failed to the console. Returns the exit status
// when everything has ended.
//
// If the folder is full or read-only, packages whose transfer has not started fail at once.
int downloadPackages(const std::vector<PackageEntry>& packages, const URL& repositoryURL,
                     const Options& options, const HTTPClientFactory& clientFactory,
                     Console& console, std::ostream& output);

}  // namespace tolvane
