// SPDX-License-Identifier: MIT
#include "async/OperationQueue.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

namespace tolvane {

// A runner is a background task that runs the next operation and then dispatches itself again, so
// that other tasks get their share of the threads.
struct OperationQueue::State : std::enable_shared_from_this<State> {
  mutable std::mutex mutex;
  std::deque<Task> waiting;
  long width = 1;
  long runners = 0;

  // Starts runners as the width allows, at most `wanted` of them.
  void startRunners(std::size_t wanted) {
    std::size_t count = 0;
    {
      const std::lock_guard lock(mutex);
      const auto room = static_cast<std::size_t>(std::max(width - runners, 0L));
      count = std::min({wanted, room, waiting.size()});
      runners += static_cast<long>(count);
    }
    for (; count > 0; --count) dispatchRunner();
  }

  void dispatchRunner() {
    dispatchAsync([self = shared_from_this()] { self->runNext(); });
  }

  void runNext() {
    if (Task operation = takeNext()) {
      operation();
      operation = nullptr;  // destroyed before the next one starts
      dispatchRunner();
    }
  }

  // An empty task ends the runner.
  Task takeNext() {
    const std::lock_guard lock(mutex);
    if (waiting.empty() || runners > width) {
      --runners;
      return nullptr;
    }
    Task operation = std::move(waiting.front());
    waiting.pop_front();
    return operation;
  }
};

OperationQueue::OperationQueue(long width) : state_(std::make_shared<State>()) {
  state_->width = std::max(width, 1L);
}

OperationQueue::~OperationQueue() {
  cancelAllOperations();
}

void OperationQueue::addOperation(Task operation) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->waiting.push_back(std::move(operation));
  }
  state_->startRunners(1);
}

void OperationQueue::cancelAllOperations() {
  std::deque<Task> discarded;  // destroyed without the lock
  const std::lock_guard lock(state_->mutex);
  discarded.swap(state_->waiting);
}

long OperationQueue::maxConcurrentOperationCount() const {
  const std::lock_guard lock(state_->mutex);
  return state_->width;
}

void OperationQueue::setMaxConcurrentOperationCount(long width) {
  std::size_t wanted = 0;
  {
    const std::lock_guard lock(state_->mutex);
    state_->width = std::max(width, 1L);
    wanted = state_->waiting.size();
  }
  state_->startRunners(wanted);
}

}  // namespace tolvane
