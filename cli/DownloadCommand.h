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

// Downloads into options.folder the packages that it lacks, or those that options.packages names,
// and with options.metadata the repository's own files. Prints how it ended to `output`: one line,
// or with options.json one object; then the packages that failed to the console. Gives the exit
// status. Returns when all is done.
//
// Where the folder turns out to be full or read-only, the packages whose transfer has not started
// fail without one.
int downloadPackages(const std::vector<PackageEntry>& packages, const URL& repositoryURL,
                     const Options& options, const HTTPClientFactory& clientFactory,
                     Console& console, std::ostream& output);

}  // namespace tolvane
