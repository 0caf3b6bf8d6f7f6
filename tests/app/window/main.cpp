// SPDX-License-Identifier: MIT
#include <QApplication>

#include "app/MainWindow.h"
#include "tests/ui/support/Packages.h"
#include "ui/QtMainQueue.h"
#include "ui/dialogs/QtDialogs.h"

// The main window with a dozen packages in it, for a test in another process to use.
int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("tolvane-sample-window"));
  tolvane::QtMainQueue queue;
  tolvane::QtDialogs dialogs;
  tolvane::MainWindow window(queue, dialogs);
  window.controller().loadPackagesIntoUI(tolvane::makePackages(12), std::nullopt);
  window.show();
  return QApplication::exec();
}
