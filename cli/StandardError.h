// SPDX-License-Identifier: MIT
#pragma once

#include "cli/Console.h"

namespace tolvane {

// What standard error can show: lines are coloured on a terminal, unless NO_COLOR is set.
ConsoleSettings consoleOfStandardError();

}  // namespace tolvane
