// SPDX-License-Identifier: MIT
#pragma once

#include "cli/Console.h"

namespace tolvane {

// The settings for standard error: a status line and colours on a terminal, no colours if NO_COLOR
// is set.
ConsoleSettings consoleOfStandardError();

}  // namespace tolvane
