// SPDX-License-Identifier: MIT
#include "ui/QtMainQueue.h"

#include <QElapsedTimer>
#include <QMetaObject>
#include <QTimer>
#include <utility>

namespace tolvane {

namespace {

constexpr int kSlice = 8;  // milliseconds

}  // namespace

void QtMainQueue::post(Task task) {
  {
    const std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
    if (std::exchange(isAwake_, true)) return;
  }
  QMetaObject::invokeMethod(this, &QtMainQueue::runForAWhile, Qt::QueuedConnection);
}

// None when there is nothing left, which puts the queue to sleep.
Task QtMainQueue::takeFirst() {
  const std::lock_guard lock(mutex_);
  if (tasks_.empty()) {
    isAwake_ = false;
    return nullptr;
  }
  Task task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

void QtMainQueue::runForAWhile() {
  QElapsedTimer timer;
  timer.start();
  while (const Task task = takeFirst()) {
    task();
    if (timer.elapsed() >= kSlice) {
      // A timer of no time comes after the events that wait; a posted event would come before.
      QTimer::singleShot(0, this, &QtMainQueue::runForAWhile);
      return;
    }
  }
}

}  // namespace tolvane
