// SPDX-License-Identifier: MIT
#include "app/Application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDesktopServices>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <csignal>

#include "app/AppDelegate.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "app/SQLiteContainer.h"
#include "platform/Bundle.h"
#include "ui/MessageBoxSheets.h"
#include "ui/QtMainQueue.h"
#include "ui/Strings.h"

// Resources of a static library have to be asked for, outside of any namespace.
static void initResources() {
  Q_INIT_RESOURCE(app);
}

namespace tolvane {

namespace {

// What the bundle says; a program that is no bundle knows its own version.
VersionInfo versionInfo() {
  const Bundle bundle = Bundle::mainBundle();
  VersionInfo version{bundle.infoText("CFBundleShortVersionString"),
                      bundle.infoText("CFBundleVersion")};
  if (version.shortVersion.empty() && version.build.empty()) {
    version = {TOLVANE_VERSION, TOLVANE_BUILD_NUMBER};
  }
  return version;
}

std::unique_ptr<PersistentContainer> makeStore() {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
  return std::make_unique<SQLiteContainer>("Tolvane", toText(folder));
}

// Ends the program where the delegate agrees, and says whether it does.
bool terminate(AppDelegate& delegate, const MainWindow& window) {
  if (delegate.applicationShouldTerminate() == TerminateReply::cancel) return false;
  window.saveSettings();
  delegate.applicationWillTerminate();
  QCoreApplication::exit();
  return true;
}

// The URL on the command line; "" where there is none.
QString urlToOffer(const QApplication& application) {
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addVersionOption();
  parser.addPositionalArgument(
      QStringLiteral("URL"),
      QCoreApplication::translate("Application", "A repository, for the window's first field."),
      QStringLiteral("[URL]"));
  parser.process(application);
  return parser.positionalArguments().value(0);
}

// On macOS the program goes on without its window, and a click on its icon in the Dock brings it
// back; elsewhere nothing would be left to click on.
void connectClosing(QApplication& application, AppDelegate& delegate, MainWindow& window) {
#ifdef Q_OS_MACOS
  QObject::connect(&application, &QGuiApplication::applicationStateChanged, &delegate,
                   [&delegate, &window](Qt::ApplicationState state) {
                     if (state != Qt::ApplicationActive) return;
                     delegate.applicationShouldHandleReopen(window.isVisible());
                   });
#else
  Q_UNUSED(application)
  window.setMayClose([&delegate, &window] { return terminate(delegate, window); });
#endif
}

}  // namespace

QIcon applicationIcon() {
  initResources();
  QSvgRenderer drawing(QStringLiteral(":/icon.svg"));
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64, 96, 128, 192, 256}) {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    drawing.render(&painter);
    painter.end();
    icon.addPixmap(pixmap);
  }
  return icon;
}

int runApplication(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  QApplication application(argc, argv);
  QApplication::setApplicationName(QStringLiteral("Tolvane"));
  QApplication::setApplicationVersion(QStringLiteral(TOLVANE_VERSION));
  QGuiApplication::setDesktopFileName(QStringLiteral("example.tolvane.Tolvane"));
  QApplication::setWindowIcon(applicationIcon());
  QApplication::setQuitOnLastWindowClosed(false);
  const QString url = urlToOffer(application);

  // Never destroyed: background threads may post to it while the process exits. Static, so that a
  // search for leaks still finds it then.
  static QtMainQueue& mainQueue = *new QtMainQueue;
  MessageBoxSheets sheets;
  MessageBoxAlerts alerts;
  AppDelegate delegate(alerts,
                       {makeStore, [](const QUrl& page) { QDesktopServices::openUrl(page); },
                        QApplication::windowIcon(), versionInfo()});
  MainWindow window(mainQueue, sheets);
  delegate.addWindow(&window);
  buildMainMenu(window, delegate, [&] { terminate(delegate, window); });
  connectClosing(application, delegate, window);
  window.controller().controls().repoURLField->setText(url);
  window.show();
  delegate.applicationDidFinishLaunching(*window.menuBar());
  return QApplication::exec();
}

}  // namespace tolvane
