// SPDX-License-Identifier: MIT
#include "ui/QtMainQueue.h"

#include <QElapsedTimer>
#include <QMetaObject>
#include <utility>

namespace tolvane {

namespace {

// Milliseconds. Waking the loop takes longer than most tasks, and one post is often followed by
// others, so the queue looks again after a pause before it waits to be woken.
constexpr int kSlice = 8;
constexpr int kPause = 2;

}  // namespace

QtMainQueue::QtMainQueue() {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &QtMainQueue::runForAWhile);
}

void QtMainQueue::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (std::exchange(isAwake_, true)) return;
  }
  QMetaObject::invokeMethod(this, &QtMainQueue::runForAWhile, Qt::QueuedConnection);
}

Task QtMainQueue::takeFirst() {
  const std::lock_guard lock(mutex_);
  if (tasks_.empty()) return nullptr;
  Task task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

bool QtMainQueue::fallAsleep() {
  const std::lock_guard lock(mutex_);
  isAwake_ = !tasks_.empty();
  return !isAwake_;
}

void QtMainQueue::runForAWhile() {
  QElapsedTimer timer;
  timer.start();
  bool isIdle = true;
  while (const Task task = takeFirst()) {
    task();
    isIdle = false;
    // A timer of 0 ms fires after the pending events; a posted event would come before them.
    if (timer.elapsed() >= kSlice) return timer_.start(0);
  }
  if (!isIdle || !fallAsleep()) timer_.start(kPause);
}

}  // namespace tolvane
