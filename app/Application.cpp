// SPDX-License-Identifier: MIT
#include "app/Application.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDesktopServices>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>

#include "app/AppDelegate.h"
#include "app/ApplicationEvents.h"
#include "app/MainMenu.h"
#include "app/MainWindow.h"
#include "app/SQLiteContainer.h"
#include "app/VersionInfo.h"
#include "base/Configuration.h"
#include "base/FolderFlush.h"
#include "ui/QtMainQueue.h"
#include "ui/Strings.h"
#include "ui/dialogs/QtDialogs.h"

// Resources of a static library have to be asked for, outside of any namespace.
static void initResources() {
  Q_INIT_RESOURCE(app);
}

namespace tolvane {

namespace {

#ifdef Q_OS_MACOS
constexpr LastWindowClosed kLastWindowClosed = LastWindowClosed::staysInTheDock;
#else
constexpr LastWindowClosed kLastWindowClosed =
    LastWindowClosed::quits;  // nothing to click on stays
#endif

std::unique_ptr<PersistentContainer> makeStore() {
  const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
  return std::make_unique<SQLiteContainer>("Tolvane", toText(folder));
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

}  // namespace

QIcon applicationIcon() {
  initResources();
  QSvgRenderer drawing(QStringLiteral(":/icon.svg"));
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64, 96, 128, 192, 256, 384, 512}) {
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
  QtDialogs dialogs;
  MessageBoxAlerts alerts;
  const auto openInBrowser = [](const QUrl& address) { QDesktopServices::openUrl(address); };
  AppDelegate delegate(alerts, {makeStore, openInBrowser, QApplication::windowIcon(),
                                versionInfo(Configuration::current().infoPath, buildVersion())});
  MainWindow window(mainQueue, dialogs);
  delegate.addWindow(&window);
  ApplicationEvents events(delegate, kLastWindowClosed, [&] { window.saveSettings(); });
  buildMainMenu(window, delegate, [&] { events.terminate(); });
  window.controller().controls().repoURLField->setText(url);
  window.show();
  delegate.applicationDidFinishLaunching(*window.menuBar());
  const int status = QApplication::exec();
  flushFolders();  // the names of a run that has just ended
  return status;
}

}  // namespace tolvane
