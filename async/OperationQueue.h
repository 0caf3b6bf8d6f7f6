// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "async/Dispatch.h"

namespace tolvane {

// Runs operations on background threads, in the order in which they were added, at most
// maxConcurrentOperationCount() at the same moment. Every member may be called on any thread.
class OperationQueue {
 public:
  explicit OperationQueue(long width);
  ~OperationQueue();  // operations that have not started are discarded

  void addOperation(Task operation);

  // Discards every operation that has not started. Those that have started are not touched.
  void cancelAllOperations();

  long maxConcurrentOperationCount() const;
  void setMaxConcurrentOperationCount(long width);  // at least 1

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace tolvane
