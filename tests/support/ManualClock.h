// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>

namespace tolvane {

// The time that dispatchAfter() waits for, turned by the test: while the clock lives, a delay
// passes only by advance(), so that a test of a delay takes no time. One clock at a time; any
// thread.
class ManualClock {
 public:
  ManualClock();
  ~ManualClock();  // tasks whose time has not come are discarded

  ManualClock(const ManualClock&) = delete;
  ManualClock& operator=(const ManualClock&) = delete;

  // The time that has passed since the clock was made.
  std::chrono::milliseconds elapsed() const;

  // Waits until that many tasks wait for their time; false when they do not come within 5 seconds.
  bool waitForTasks(std::size_t count) const;

  // Moves the time on, runs the tasks whose time comes by that, the earliest first, one after
  // another on a background thread, and returns when they have run.
  void advance(std::chrono::milliseconds time);

  // From now on each task that is delayed moves the time on to its own, and so runs at once.
  void skipDelays();

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace tolvane
