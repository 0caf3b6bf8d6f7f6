// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>
#include <deque>
#include <mutex>

#include "async/MainQueue.h"

namespace tolvane {

// The main queue as Qt's event loop runs it. To be made on the main thread; tasks that wait when it
// goes are dropped.
//
// Tasks run for a few milliseconds at a time, and in between the loop turns to keys, clicks and
// painting: a run over thousands of packages posts faster than a window can show, and events that
// are posted to a loop come before all others.
class QtMainQueue : public QObject, public MainQueue {
  Q_OBJECT

 public:
  QtMainQueue();

  void post(Task task) override;

 private:
  // None when there is nothing left.
  Task takeFirst();
  // Whether nothing was left, so that the next post has to wake the queue.
  bool fallAsleep();
  void runForAWhile();

  QTimer timer_;
  std::mutex mutex_;
  std::deque<Task> tasks_;
  bool isAwake_ = false;  // somebody will look at the tasks
};

}  // namespace tolvane
