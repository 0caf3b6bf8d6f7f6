// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <functional>

#include "app/AppDelegate.h"

namespace tolvane {

// What becomes of the program when the user closes its last window.
enum class LastWindowClosed { quits, staysInTheDock };

// Brings each of the toolkit's ways to end or reopen the program to the delegate's operations: the
// menu, the session's end, the close of the last window, a click on the icon in the Dock.
//
// The toolkit tells of a click in the Dock only as of any other way to make the program active,
// such as switching to it with the keyboard. So where no window is left, neither in view nor
// minimised, each of these reopens the first one; where one is left, none does anything.
//
// Lives beside the application, which it watches.
class ApplicationEvents : public QObject {
  Q_OBJECT

 public:
  // `willTerminate` runs once the delegate has agreed to a quit.
  ApplicationEvents(AppDelegate& delegate, LastWindowClosed lastWindowClosed,
                    std::function<void()> willTerminate);

  // Ends the program where the delegate agrees, and says whether it does. While the delegate is
  // still asking the user, nobody else gets an answer but "no".
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
