// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <numeric>
#include <vector>

#include "async/Dispatch.h"

namespace tolvane {

// Counts the threads between enter() and leave(), and keeps the maximum.
class Gauge {
 public:
  void enter() {
    const int now = ++inside_;
    int most = most_;
    while (most < now && !most_.compare_exchange_weak(most, now)) {
    }
  }
  void leave() { --inside_; }
  int most() const { return most_; }

 private:
  std::atomic<int> inside_ = 0;
  std::atomic<int> most_ = 0;
};

// Makes operations that block until open().
class Blocker {
 public:
  Task task() const {
    return [state = state_] {
      std::unique_lock lock(state->mutex);
      ++state->started;
      state->changed.notify_all();
      state->changed.wait(lock, [&] { return state->isOpen; });
    };
  }

  void waitUntilStarted(int count) const {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->started >= count; });
  }

  void open() const {
    const std::lock_guard lock(state_->mutex);
    state_->isOpen = true;
    state_->changed.notify_all();
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int started = 0;
    bool isOpen = false;
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

inline std::vector<int> upTo(int count) {
  std::vector<int> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

}  // namespace tolvane
