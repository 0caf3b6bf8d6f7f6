// SPDX-License-Identifier: MIT
#pragma once

#include "ui/QtMainQueue.h"

namespace tolvane {

// The process's main queue, as in the program: never destroyed, since transfers may post to it to
// the end, and static, so that a search for leaks still finds it then.
inline QtMainQueue& lastingQueue() {
  static QtMainQueue& queue = *new QtMainQueue;
  return queue;
}

}  // namespace tolvane
