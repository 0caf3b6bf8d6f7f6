// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <functional>

#include "app/AppDelegate.h"

namespace tolvane {

// What becomes of the program when the user closes its last window.
enum class LastWindowClosed { quits, staysInTheDock };

// Calls the delegate's operations for each of Qt's events that end or reopen the program: the menu,
// the session's end, the close of the last window, a click on the icon in the Dock.
//
// Qt reports a click in the Dock only as an activation, as switching to the program with the
// keyboard. So an activation reopens the first window where no window is visible or minimised, and
// does nothing otherwise.
//
// To be made after the QApplication, which it filters events of.
class ApplicationEvents : public QObject {
  Q_OBJECT

 public:
  // `willTerminate` runs once the delegate has agreed to a quit.
  ApplicationEvents(AppDelegate& delegate, LastWindowClosed lastWindowClosed,
                    std::function<void()> willTerminate);

  // Ends the program where the delegate agrees, and returns whether it does. False while the
  // delegate is still asking the user.
  bool terminate();

  // The session would like to end: whether it may. Another program may still refuse, so the
  // delegate is asked once more when the end comes.
  bool sessionMayEnd() { return mayTerminate(); }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool mayTerminate();
  void end();
  void applicationStateDidChange(Qt::ApplicationState state);

  AppDelegate& delegate_;
  LastWindowClosed lastWindowClosed_;
  std::function<void()> willTerminate_;
  bool asking_ = false;
  bool ending_ = false;
};

}  // namespace tolvane
