// SPDX-License-Identifier: MIT
#include "app/AppDelegate.h"

#include <QAction>
#include <QCoreApplication>
#include <QMenu>
#include <QUrl>
#include <algorithm>
#include <cstdlib>
#include <utility>

#include "base/SystemLog.h"
#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr std::size_t kQuitAnywayButton = 0;
constexpr std::size_t kCancelButton = 1;

// The translation of a text, which is its own key.
std::string localized(const char* text) {
  return toText(QCoreApplication::translate("AppDelegate", text));
}

Alert quitAlert() {
  Alert alert;
  alert.messageText = localized(
      QT_TRANSLATE_NOOP("AppDelegate", "Could not save changes while quitting. Quit anyway?"));
  alert.informativeText = localized(QT_TRANSLATE_NOOP(
      "AppDelegate",
      "Quitting now will lose any changes you have made since the last successful save"));
  alert.buttons.resize(2);
  alert.buttons[kQuitAnywayButton] = localized(QT_TRANSLATE_NOOP("AppDelegate", "Quit anyway"));
  alert.buttons[kCancelButton] = localized(QT_TRANSLATE_NOOP("AppDelegate", "Cancel"));
  return alert;
}

void bringToFront(QWidget& window) {
  window.show();
  window.raise();
  window.activateWindow();
}

}  // namespace

AppDelegate::AppDelegate(ApplicationAlerts& alerts, Settings settings)
    : alerts_(alerts), settings_(std::move(settings)) {}

PersistentContainer& AppDelegate::persistentContainer() {
  const std::lock_guard lock(mutex_);
  if (container_ == nullptr) {
    container_ = settings_.makeContainer();
    if (const auto failure = container_->loadPersistentStores()) {
      SystemLog::write("Unresolved error {}, {}", describe(failure->error), failure->userInfo);
      std::abort();
    }
  }
  return *container_;
}

void AppDelegate::applicationDidFinishLaunching(const QMenuBar& mainMenu) {
  const QList<QAction*> menus = mainMenu.actions();
  if (menus.isEmpty() || menus.first()->menu() == nullptr) return;
  for (QAction* const item : menus.first()->menu()->actions()) {
    if (item->menuRole() != QAction::AboutRole) continue;
    item->disconnect(SIGNAL(triggered(bool)));
    connect(item, &QAction::triggered, this, &AppDelegate::showCustomAboutWindow);
    return;
  }
}

void AppDelegate::showCustomAboutWindow() {
  if (aboutWindow_ == nullptr) {
    aboutWindow_ = std::make_unique<AboutWindow>(settings_.icon, settings_.version);
    connect(aboutWindow_.get(), &AboutWindow::linkClicked, this, &AppDelegate::openTolvaneWebsite);
    addWindow(aboutWindow_.get());
  }
  aboutWindow_->present();
}

void AppDelegate::openTolvaneWebsite() {
  const QUrl url(QLatin1String(kWebsite), QUrl::StrictMode);
  if (url.isValid()) settings_.openURL(url);
}

void AppDelegate::addWindow(QWidget* window) {
  windows_.emplace_back(window);
}

bool AppDelegate::hasVisibleWindows() const {
  return std::any_of(windows_.begin(), windows_.end(),
                     [](const auto& window) { return window != nullptr && window->isVisible(); });
}

bool AppDelegate::isOnlyVisibleWindow(const QWidget& window) const {
  const auto isShown = [](const auto& other) { return other != nullptr && other->isVisible(); };
  return window.isVisible() && std::count_if(windows_.begin(), windows_.end(), isShown) == 1 &&
         std::find(windows_.begin(), windows_.end(), &window) != windows_.end();
}

bool AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows) {
  if (hasVisibleWindows) return true;
  for (const auto& window : windows_) {
    if (window == nullptr) continue;
    bringToFront(*window);
    break;
  }
  return true;
}

TerminateReply AppDelegate::applicationShouldTerminate() {
  ObjectContext& context = persistentContainer().mainContext();
  if (!context.commitEditing()) {
    SystemLog::write("{}:{} unable to commit editing to terminate", "AppDelegate",
                     "applicationShouldTerminate:");
    return TerminateReply::cancel;
  }
  if (!context.hasChanges()) return TerminateReply::now;
  const auto error = context.save();
  if (!error) return TerminateReply::now;
  if (alerts_.presentError(*error)) return TerminateReply::cancel;
  const bool stay = alerts_.runModal(quitAlert()) == kCancelButton;
  return stay ? TerminateReply::cancel : TerminateReply::now;
}

void AppDelegate::save() {
  ObjectContext& context = persistentContainer().mainContext();
  if (!context.commitEditing()) {
    SystemLog::write("{}:{} unable to commit editing before saving", "AppDelegate", "save");
  }
  if (!context.hasChanges()) return;
  if (const auto error = context.save()) alerts_.presentError(*error);
}

QUndoStack& AppDelegate::windowWillReturnUndoManager(const QWidget* /*window*/) {
  return persistentContainer().mainContext().undoManager();
}

}  // namespace tolvane
