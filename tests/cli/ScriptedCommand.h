// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "cli/Console.h"
#include "tests/cli/CommandResult.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {

inline constexpr const char* kRepository = "http://repo.example/";

// Runs tolvane-cli in this process over the scripted client.
CommandResult runScripted(const ScriptedHTTPClient& session,
                          const std::vector<std::string>& arguments, ConsoleSettings console = {});

}  // namespace tolvane
