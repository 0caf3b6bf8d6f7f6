// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <vector>

#include "cli/Console.h"
#include "cli/Options.h"
#include "model/PackageEntry.h"
#include "platform/URL.h"
#include "platform/URLSession.h"

namespace tolvane {

// Downloads into options.folder the packages that it lacks, or those that options.packages names,
// and prints how it ended to `output`: one line, or with options.json one object. Gives the exit
// status. Returns when all is done.
int downloadPackages(const std::vector<PackageEntry>& packages, const URL& repositoryURL,
                     const Options& options, const URLSessionFactory& sessionFactory,
                     Console& console, std::ostream& output);

}  // namespace tolvane
