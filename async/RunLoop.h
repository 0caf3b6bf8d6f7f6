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

  // Runs posted tasks on the calling thread until quit() is called. Tasks that were posted before
  // quit() still run.
  void run();

  // Makes run() return. Any thread.
  void quit();

  // Runs the tasks that have been posted, and those that they post, and returns.
  void drain();

 private:
  void runFirst(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<Task> tasks_;
  bool quitting_ = false;
};

}  // namespace tolvane
