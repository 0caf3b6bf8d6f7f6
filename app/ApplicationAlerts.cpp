// SPDX-License-Identifier: MIT
#include "app/ApplicationAlerts.h"

#include <QMessageBox>

#include "ui/dialogs/QtDialogs.h"

namespace tolvane {

bool MessageBoxAlerts::presentError(const Error& error) {
  QMessageBox box;
  fillMessageBox(box, {error.description, "", {"OK"}});
  box.exec();
  return false;
}

std::size_t MessageBoxAlerts::runModal(const Alert& alert) {
  QMessageBox box;
  fillMessageBox(box, alert);
  box.exec();
  return answerOf(box, alert);
}

}  // namespace tolvane
