// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "async/Dispatch.h"

namespace tolvane {

// Runs tasks one after another, in the order in which they were posted, on background threads. It
// has no thread of its own, so a queue costs next to nothing. Copies are the same queue; posted
// tasks still run after the last copy is destroyed.
class SerialQueue {
 public:
  SerialQueue();

  void post(Task task) const;  // any thread

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tolvane
