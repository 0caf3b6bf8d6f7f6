// SPDX-License-Identifier: MIT
#include "app/ApplicationEvents.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScopedValueRollback>
#include <QSessionManager>
#include <QWidget>
#include <utility>

namespace tolvane {

ApplicationEvents::ApplicationEvents(AppDelegate& delegate, LastWindowClosed lastWindowClosed,
                                     std::function<void()> willTerminate)
    : delegate_(delegate),
      lastWindowClosed_(lastWindowClosed),
      willTerminate_(std::move(willTerminate)) {
  qApp->installEventFilter(this);
  connect(qApp, &QGuiApplication::applicationStateChanged, this,
          &ApplicationEvents::applicationStateDidChange);
  // A session that allows no questions is asked when its end has come.
  connect(
      qApp, &QGuiApplication::commitDataRequest, this,
      [this](QSessionManager& session) {
        if (!session.allowsInteraction()) return;
        if (!sessionMayEnd()) session.cancel();
        session.release();
      },
      Qt::DirectConnection);
}

bool ApplicationEvents::mayTerminate() {
  if (ending_) return true;
  if (asking_) return false;
  const QScopedValueRollback guard(asking_, true);
  return delegate_.applicationShouldTerminate() == TerminateReply::now;
}

void ApplicationEvents::end() {
  if (std::exchange(ending_, true)) return;
  willTerminate_();
  delegate_.applicationWillTerminate();
  QCoreApplication::exit();
}

bool ApplicationEvents::terminate() {
  if (!mayTerminate()) return false;
  end();
  return true;
}

bool ApplicationEvents::eventFilter(QObject* watched, QEvent* event) {
  if (watched == qApp && event->type() == QEvent::Quit) {
    if (!terminate()) event->ignore();
    return true;  // otherwise Qt closes the windows, each of which asks again
  }
  if (event->type() == QEvent::Close && lastWindowClosed_ == LastWindowClosed::quits) {
    const auto* const window = qobject_cast<QWidget*>(watched);
    if (window != nullptr && delegate_.isOnlyVisibleWindow(*window) && !terminate()) {
      event->ignore();
      return true;
    }
  }
  return false;
}

// A click on the icon in the Dock activates the program, even where it is active.
void ApplicationEvents::applicationStateDidChange(Qt::ApplicationState state) {
  if (state != Qt::ApplicationActive || lastWindowClosed_ == LastWindowClosed::quits) return;
  delegate_.applicationShouldHandleReopen(delegate_.hasVisibleWindows());
}

}  // namespace tolvane
