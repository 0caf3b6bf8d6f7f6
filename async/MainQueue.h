// SPDX-License-Identifier: MIT
#pragma once

#include "async/Dispatch.h"

namespace tolvane {

// The queue of the program's main thread: the window posts to Qt's event loop, tolvane-cli to a
// RunLoop, a test to one that it drains itself.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  // Runs the task later on the main thread, after all that was posted before. Any thread.
  virtual void post(Task task) = 0;
};

}  // namespace tolvane
