// SPDX-License-Identifier: MIT
#pragma once

namespace tolvane {

// The exit statuses of tolvane-cli. If a signal ends it, it dies of that signal, which a shell
// shows as 128 plus the number of the signal: 130 after Ctrl-C.
enum ExitStatus : int {
  kExitDone = 0,
  kExitFailed = 1,  // packages failed or do not exist, or metadata or output could not be written
  kExitUsage = 2,
  kExitNotLoaded = 3,  // the repository could not be loaded
};

}  // namespace tolvane
