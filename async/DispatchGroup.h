// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "async/MainQueue.h"

namespace tolvane {

// Posts a task when several pieces of work are all done. Copies are the same group. Every member
// may be called on any thread.
class DispatchGroup {
 public:
  DispatchGroup();

  void enter() const;
  void leave() const;  // once for each enter()

  // Posts the task to the queue once there was a leave() for each enter(), which may be at once.
  // Called once a group. The queue must exist until then.
  void notify(MainQueue& queue, Task task) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tolvane
