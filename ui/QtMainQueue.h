// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>
#include <deque>
#include <mutex>

#include "async/MainQueue.h"

namespace tolvane {

// The main queue on Qt's event loop. To be made on the main thread; tasks that wait when it is
// destroyed are dropped.
//
// Tasks run for a few milliseconds at a time, and in between the loop handles keys, clicks and
// painting: a run over thousands of packages posts tasks faster than a window can show them, and Qt
// delivers posted events before all others.
class QtMainQueue : public QObject, public MainQueue {
  Q_OBJECT

 public:
  QtMainQueue();

  void post(Task task) override;

 private:
  // Empty when nothing is left.
  Task takeFirst();
  // Whether nothing was left, so that the next post has to wake the queue.
  bool fallAsleep();
  void runForAWhile();

  QTimer timer_;
  std::mutex mutex_;
  std::deque<Task> tasks_;
  bool isAwake_ = false;  // a call of runForAWhile() is pending
};

}  // namespace tolvane
