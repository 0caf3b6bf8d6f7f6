// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cli/Console.h"
#include "http/HTTPClient.h"

namespace tolvane {

// What tolvane-cli uses of its process.
struct CommandEnvironment {
  HTTPClientFactory clientFactory;
  std::ostream& output;
  std::ostream& errorOutput;
  ConsoleSettings console;
};

// Runs tolvane-cli with these arguments (those after the program's name) and returns the exit
// status. Only the result is written to standard output.
int runCommand(const std::vector<std::string>& arguments, const CommandEnvironment& environment);

}  // namespace tolvane
