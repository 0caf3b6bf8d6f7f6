// SPDX-License-Identifier: MIT
#include "ui/QtMainQueue.h"

#include <QMetaObject>
#include <utility>

namespace tolvane {

void QtMainQueue::post(Task task) {
  // Events for one receiver keep their order, whichever thread posts them.
  QMetaObject::invokeMethod(&receiver_, std::move(task), Qt::QueuedConnection);
}

}  // namespace tolvane
