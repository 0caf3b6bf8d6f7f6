// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

#include "platform/MainQueue.h"

namespace tolvane {

// The main queue as Qt's event loop runs it. To be made on the main thread; tasks that wait when it
// goes are dropped.
class QtMainQueue : public MainQueue {
 public:
  void post(Task task) override;

 private:
  QObject receiver_;
};

}  // namespace tolvane
