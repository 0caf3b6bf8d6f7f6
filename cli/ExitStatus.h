// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// What the command's exit status says to the caller. One that is ended by a signal dies of that
// signal, which a shell shows as 128 and the signal's number: 130 after Ctrl-C.
enum ExitStatus : int {
  kExitDone = 0,
  kExitFailed = 1,  // packages failed or do not exist, or what was asked for could not be written
  kExitUsage = 2,
  kExitNotLoaded = 3,  // the repository could not be loaded
};

}  // namespace tolvane
