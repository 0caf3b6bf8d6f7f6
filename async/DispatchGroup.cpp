// SPDX-License-Identifier: MIT
#include "async/DispatchGroup.h"

#include <mutex>
#include <utility>

namespace tolvane {

struct DispatchGroup::State {
  std::mutex mutex;
  long inside = 0;
  MainQueue* queue = nullptr;  // none until notify(), and after the task has been posted
  Task task;

  // Makes the change under the lock and posts the task, without it, when its time has come.
  template <typename Change>
  void update(Change change) {
    std::unique_lock lock(mutex);
    change();
    if (inside > 0 || queue == nullptr) return;
    MainQueue& receiver = *std::exchange(queue, nullptr);
    Task due = std::move(task);
    lock.unlock();
    receiver.post(std::move(due));
  }
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  const std::lock_guard lock(state_->mutex);
  ++state_->inside;
}

void DispatchGroup::leave() const {
  state_->update([this] { --state_->inside; });
}

void DispatchGroup::notify(MainQueue& queue, Task task) const {
  state_->update([&] {
    state_->queue = &queue;
    state_->task = std::move(task);
  });
}

}  // namespace tolvane
