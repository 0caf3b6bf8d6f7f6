// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "cli/Console.h"
#include "http/HTTPClient.h"

namespace tolvane {

// What the command has from its process.
struct CommandEnvironment {
  HTTPClientFactory clientFactory;
  std::ostream& output;
  std::ostream& errorOutput;
  ConsoleSettings console;
};

// Does what the arguments (those after the program's name) ask for and gives the exit status.
// Standard output gets the result and nothing else.
int runCommand(const std::vector<std::string>& arguments, const CommandEnvironment& environment);

}  // namespace tolvane
