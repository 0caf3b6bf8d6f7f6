// SPDX-License-Identifier: MIT
#include "app/MainWindow.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QSettings>

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr QSize kFirstSize(1180, 760);
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

void MainWindow::closeEvent(QCloseEvent* event) {
  saveSettings();
  QMainWindow::closeEvent(event);
}

}  // namespace tolvane
