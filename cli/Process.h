// SPDX-License-Identifier: MIT
#pragma once

#include "cli/Console.h"

namespace tolvane {

// The settings of the process that have to be made before its first other thread starts.
//
// SIGINT and SIGTERM end the process at once, with the status 128 plus the signal's number and no
// half file left. A write to a pipe that nobody reads fails instead of ending the process. Standard
// streams that the caller closed are opened as ones that can only fail, so that no file or
// connection of ours takes their place and receives what is printed.
void prepareProcess();

// What standard error can show: lines are coloured on a terminal, unless NO_COLOR is set.
ConsoleSettings consoleOfStandardError();

}  // namespace tolvane
