// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "async/MainQueue.h"

namespace tolvane {

// Tells when all of a number of pieces of work are done. Copies are the same group. Every member
// may be called on any thread.
class DispatchGroup {
 public:
  DispatchGroup();

  void enter() const;
  void leave() const;  // once for each enter()

  // Posts the task to the queue once everybody who entered has left: at once where nobody is
  // inside. Called once a group. The queue must outlive that moment.
  void notify(MainQueue& queue, Task task) const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tolvane
