// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QTimer>

#include "async/MainQueue.h"
#include "http/HTTPClient.h"
#include "ui/ViewController.h"
#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// The window around the controller. Its size, its position and the widths of the columns are kept
// in the user's settings. It is drawn at most sixty times a second.
class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow(MainQueue& mainQueue, Dialogs& dialogs,
             const HTTPClientFactory& clientFactory = makeHTTPClient);

  ViewController& controller() const { return *controller_; }

  void restoreSettings();
  void saveSettings() const;

 protected:
  bool event(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  ViewController* controller_;
  QElapsedTimer sinceFrame_;
  QTimer nextFrame_;
};

}  // namespace tolvane
