// SPDX-License-Identifier: MIT
#include "async/RunLoop.h"

#include <utility>

namespace tolvane {

void RunLoop::post(Task task) {
  // Notified with the lock held: once it is released, the loop may have returned and be destroyed.
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
  posted_.notify_one();
}

void RunLoop::run() {
  std::unique_lock lock(mutex_);
  while (!quitting_) {
    posted_.wait(lock, [this] { return !tasks_.empty(); });
    runFirst(lock);
  }
  quitting_ = false;
}

void RunLoop::quit() {
  // A task like the others, so that it takes effect after what was posted before it.
  post([this] {
    const std::lock_guard lock(mutex_);
    quitting_ = true;
  });
}

void RunLoop::drain() {
  std::unique_lock lock(mutex_);
  while (!tasks_.empty()) runFirst(lock);
}

// Runs and destroys the first task without the lock.
void RunLoop::runFirst(std::unique_lock<std::mutex>& lock) {
  {
    const Task task = std::move(tasks_.front());
    tasks_.pop_front();
    lock.unlock();
    task();
  }
  lock.lock();
}

}  // namespace tolvane
