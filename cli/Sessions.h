// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "base/URL.h"
#include "cli/Console.h"
#include "cli/Options.h"
#include "http/HTTPClient.h"

namespace tolvane {

// The factory for all HTTP clients of a run: those of `factory`, with the connections, header
// fields, time and size of the options. A redirect from https to http is a warning on the console,
// once for each pair of servers.
HTTPClientFactory sessionsOfRun(const Options& options, const URL& repositoryURL,
                                std::shared_ptr<Console> console, HTTPClientFactory factory);

}  // namespace tolvane
