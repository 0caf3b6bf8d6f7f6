// SPDX-License-Identifier: MIT
#include "tests/support/ManualClock.h"

#include <condition_variable>
#include <future>
#include <map>
#include <mutex>
#include <utility>

#include "async/Dispatch.h"
#include "async/SerialQueue.h"

namespace tolvane {

using std::chrono::milliseconds;

struct ManualClock::State {
  mutable std::mutex mutex;
  mutable std::condition_variable delayed;
  milliseconds now{0};
  std::multimap<milliseconds, Task> waiting;  // by the time at which they run
  bool skipsDelays = false;
  SerialQueue queue;

  void delay(milliseconds time, Task task) {
    const std::lock_guard lock(mutex);
    waiting.emplace(now + time, std::move(task));
    if (skipsDelays) advance(time);
    delayed.notify_all();
  }

  // With the lock held.
  void advance(milliseconds time) {
    now += time;
    const auto end = waiting.upper_bound(now);
    for (auto due = waiting.begin(); due != end; ++due) queue.post(std::move(due->second));
    waiting.erase(waiting.begin(), end);
  }
};

ManualClock::ManualClock() : state_(std::make_shared<State>()) {
  replaceDelayTimer(
      [state = state_](milliseconds time, Task task) { state->delay(time, std::move(task)); });
}

ManualClock::~ManualClock() {
  replaceDelayTimer({});
  std::multimap<milliseconds, Task> discarded;  // destroyed without the lock
  const std::lock_guard lock(state_->mutex);
  discarded.swap(state_->waiting);
}

milliseconds ManualClock::elapsed() const {
  const std::lock_guard lock(state_->mutex);
  return state_->now;
}

bool ManualClock::waitForTasks(std::size_t count) const {
  std::unique_lock lock(state_->mutex);
  return state_->delayed.wait_for(lock, std::chrono::seconds(5),
                                  [&] { return state_->waiting.size() >= count; });
}

void ManualClock::advance(milliseconds time) {
  {
    const std::lock_guard lock(state_->mutex);
    state_->advance(time);
  }
  std::promise<void> done;
  state_->queue.post([&] { done.set_value(); });
  done.get_future().wait();
}

void ManualClock::skipDelays() {
  const std::lock_guard lock(state_->mutex);
  state_->skipsDelays = true;
}

}  // namespace tolvane
