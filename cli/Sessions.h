// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "base/URL.h"
#include "cli/Console.h"
#include "cli/Options.h"
#include "http/HTTPClient.h"

namespace tolvane {

// The factory for all sessions of a run on the repository: those of `factory` with what the options
// say of connections, header fields, time and size. A redirect from https to http is a warning on
// the console, once for each two servers.
HTTPClientFactory sessionsOfRun(const Options& options, const URL& repositoryURL,
                                std::shared_ptr<Console> console, HTTPClientFactory factory);

}  // namespace tolvane
