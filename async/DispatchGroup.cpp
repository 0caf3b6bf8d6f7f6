// SPDX-License-Identifier: MIT
#include "async/DispatchGroup.h"

#include <mutex>
#include <utility>

namespace tolvane {

struct DispatchGroup::State {
  std::mutex mutex;
  long pending = 0;
  MainQueue* queue = nullptr;  // none until notify(), and after the task has been posted
  Task task;

  // Makes the change with the lock held, and posts the task, without it, if nothing is pending.
  template <typename Change>
  void update(Change change) {
    std::unique_lock lock(mutex);
    change();
    if (pending > 0 || queue == nullptr) return;
    MainQueue& receiver = *std::exchange(queue, nullptr);
    Task due = std::move(task);
    lock.unlock();
    receiver.post(std::move(due));
  }
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  const std::lock_guard lock(state_->mutex);
  ++state_->pending;
}

void DispatchGroup::leave() const {
  state_->update([this] { --state_->pending; });
}

void DispatchGroup::notify(MainQueue& queue, Task task) const {
  state_->update([&] {
    state_->queue = &queue;
    state_->task = std::move(task);
  });
}

}  // namespace tolvane
