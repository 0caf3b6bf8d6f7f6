// SPDX-License-Identifier: MIT
#include "app/MainWindow.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QHeaderView>
#include <QSettings>

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr QSize kFirstSize(1180, 760);
// Milliseconds between two frames. A busy run changes the window with each package, and drawing it
// takes as long as verifying several packages.
constexpr qint64 kFrameInterval = 16;
constexpr int kNarrowestColumn = 20;
constexpr int kWidestColumn = 4000;

QString geometryKey() {
  return QStringLiteral("mainWindow/geometry");
}

QString widthKey(const PackageTableModel& model, int column) {
  return QStringLiteral("columnWidths/") + toQString(model.identifierOfColumn(column));
}

}  // namespace

MainWindow::MainWindow(MainQueue& mainQueue, Dialogs& dialogs,
                       const HTTPClientFactory& clientFactory)
    : controller_(new ViewController(mainQueue, dialogs, clientFactory, this)) {
  setObjectName(QStringLiteral("mainWindow"));
  setWindowTitle(QStringLiteral("Tolvane"));
  setCentralWidget(controller_);
  resize(kFirstSize);
  restoreSettings();
  nextFrame_.setSingleShot(true);
  nextFrame_.setTimerType(Qt::PreciseTimer);
  connect(&nextFrame_, &QTimer::timeout, this,
          [this] { QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest)); });
}

void MainWindow::restoreSettings() {
  const QSettings settings;
  restoreGeometry(settings.value(geometryKey()).toByteArray());
  PackageTableView& table = *controller_->controls().tableView;
  const auto& model = *static_cast<const PackageTableModel*>(table.model());
  for (int column = 0; column < model.columnCount(); ++column) {
    const int width = settings.value(widthKey(model, column)).toInt();
    if (width >= kNarrowestColumn && width <= kWidestColumn) table.setColumnWidth(column, width);
  }
}

void MainWindow::saveSettings() const {
  QSettings settings;
  settings.setValue(geometryKey(), saveGeometry());
  const PackageTableView& table = *controller_->controls().tableView;
  const auto& model = *static_cast<const PackageTableModel*>(table.model());
  for (int column = 0; column < model.columnCount(); ++column) {
    settings.setValue(widthKey(model, column), table.columnWidth(column));
  }
}

// Qt requests each repaint by this event, also for repaint().
bool MainWindow::event(QEvent* event) {
  if (event->type() != QEvent::UpdateRequest) return QMainWindow::event(event);
  const qint64 rest = sinceFrame_.isValid() ? kFrameInterval - sinceFrame_.elapsed() : 0;
  if (rest > 0) {
    if (!nextFrame_.isActive()) nextFrame_.start(static_cast<int>(rest));
    return true;
  }
  const bool handled = QMainWindow::event(event);
  sinceFrame_.start();
  return handled;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  saveSettings();
  QMainWindow::closeEvent(event);
}

}  // namespace tolvane
