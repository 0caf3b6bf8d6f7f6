// SPDX-License-Identifier: MIT
#pragma once

#include <QMenuBar>
#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "app/AboutWindow.h"
#include "app/ApplicationAlerts.h"
#include "app/PersistentContainer.h"

namespace tolvane {

enum class TerminateReply { cancel, now };

// What the program does as a whole: its start, its About window, and saving before it quits.
class AppDelegate : public QObject {
  Q_OBJECT

 public:
  using ContainerFactory = std::function<std::unique_ptr<PersistentContainer>()>;
  using OpenURL = std::function<void(const QUrl&)>;

  struct Settings {
    ContainerFactory makeContainer;
    OpenURL openURL;
    QIcon icon;
    VersionInfo version;
  };

  // The alerts outlive the delegate.
  AppDelegate(ApplicationAlerts& alerts, Settings settings);

  // None until the window is first shown.
  AboutWindow* aboutWindow() const { return aboutWindow_.get(); }

  // Made and loaded on first use, on whichever thread; a store that cannot be loaded ends the
  // process.
  PersistentContainer& persistentContainer();

  // Makes the application menu's About item show the About window.
  void applicationDidFinishLaunching(const QMenuBar& mainMenu);
  void showCustomAboutWindow();
  void openTolvaneWebsite();

  // Windows count in the order in which they were added.
  void addWindow(QWidget* window);
  bool hasVisibleWindows() const;
  // Whether the window is one of the application's, and all others of them are hidden.
  bool isOnlyVisibleWindow(const QWidget& window) const;
  bool applicationShouldHandleReopen(bool hasVisibleWindows);

  TerminateReply applicationShouldTerminate();
  void applicationWillTerminate() {}
  static bool applicationSupportsSecureRestorableState() { return true; }

  void save();
  QUndoStack& windowWillReturnUndoManager(const QWidget* window);

 private:
  ApplicationAlerts& alerts_;
  Settings settings_;
  std::mutex mutex_;
  std::unique_ptr<PersistentContainer> container_;
  std::unique_ptr<AboutWindow> aboutWindow_;
  std::vector<QPointer<QWidget>> windows_;
};

}  // namespace tolvane
