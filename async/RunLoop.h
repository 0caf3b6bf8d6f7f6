// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "async/MainQueue.h"

namespace tolvane {

// A main queue for a program without an event loop of its own.
class RunLoop : public MainQueue {
 public:
  void post(Task task) override;

  // Runs what is posted, on the calling thread, until quit() is called. What was posted before
  // quit() still runs.
  void run();

  // Makes run() return. Any thread.
  void quit();

  // Runs what has been posted so far, and what that posts, and returns.
  void drain();

 private:
  void runFirst(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<Task> tasks_;
  bool quitting_ = false;
};

}  // namespace tolvane
