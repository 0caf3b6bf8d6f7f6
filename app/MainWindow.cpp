// SPDX-License-Identifier: MIT
#include "app/MainWindow.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QSettings>
#include <QTimer>
#include <algorithm>

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr QSize kFirstSize(1180, 760);
// Milliseconds from one picture to the next. A busy run changes the window with each package; in
// the time that drawing it takes, several packages are verified.
constexpr qint64 kPictureInterval = 16;
constexpr int kNarrowestColumn = 20;
constexpr int kWidestColumn = 4000;

QString geometryKey() {
  return QStringLiteral("mainWindow/geometry");
}

QString widthKey(const PackageTableModel& model, int column) {
  return QStringLiteral("columnWidths/") + toQString(model.identifierOfColumn(column));
}

}  // namespace

MainWindow::MainWindow(MainQueue& mainQueue, Sheets& sheets,
                       const URLSessionFactory& sessionFactory)
    : controller_(new ViewController(mainQueue, sheets, sessionFactory, this)) {
  setObjectName(QStringLiteral("mainWindow"));
  setWindowTitle(QStringLiteral("Tolvane"));
  setCentralWidget(controller_);
  resize(kFirstSize);
  restoreSettings();
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

bool MainWindow::event(QEvent* event) {
  if (event->type() != QEvent::UpdateRequest) return QMainWindow::event(event);
  if (sincePicture_.isValid() && !sincePicture_.hasExpired(kPictureInterval)) {
    const auto rest =
        static_cast<int>(std::max<qint64>(kPictureInterval - sincePicture_.elapsed(), 0));
    QTimer::singleShot(rest, Qt::PreciseTimer, this, [this] {
      QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
    });
    return true;
  }
  sincePicture_.start();
  return QMainWindow::event(event);
}

void MainWindow::closeEvent(QCloseEvent* event) {
  saveSettings();
  QMainWindow::closeEvent(event);
}

}  // namespace tolvane
