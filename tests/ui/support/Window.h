// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTest>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "async/RunLoop.h"
#include "tests/support/LogRecorder.h"
#include "tests/ui/support/Packages.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"
#include "ui/dialogs/Dialogs.h"

namespace tolvane {

inline void PrintTo(const QString& string, std::ostream* stream) {
  *stream << testing::PrintToString(toText(string));
}

// Keeps the dialogs that would be shown, for a test to answer.
class ScriptedDialogs : public Dialogs {
 public:
  struct ShownAlert {
    QWidget* window;
    Alert alert;
    Answered answered;
  };

  void beginAlert(QWidget* window, const Alert& alert, Answered answered) override {
    shown.push_back({window, alert, std::move(answered)});
  }

  void beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) override {
    panels.push_back({window, panel, std::move(chosen)});
  }

  struct Panel {
    QWidget* window;
    FolderPanel panel;
    FolderChosen chosen;
  };

  std::vector<ShownAlert> shown;
  std::vector<Panel> panels;
};

// A controller as it stands in the window: 1030 x 614 unless a test says otherwise.
class Window : public testing::Test {
 protected:
  Window() { controller.resize(1030, 614); }

  void show() {
    controller.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&controller));
  }

  void load(std::vector<PackageEntry> packages) {
    controller.loadPackagesIntoUI(std::move(packages),
                                  URL::parse("https://packages.example/repo/"));
  }

  void loadAndShow(std::vector<PackageEntry> packages) {
    load(std::move(packages));
    show();
  }

  void search(const char* text) { c.searchField->setText(QString::fromUtf8(text)); }

  int columnOf(std::string_view identifier) const {
    return static_cast<const PackageTableModel*>(c.tableView->model())
        ->columnWithIdentifier(identifier);
  }

  std::string cell(int row, std::string_view identifier) const {
    const auto index = c.tableView->model()->index(row, columnOf(identifier));
    return toText(index.data(Qt::DisplayRole).toString());
  }

  bool isTicked(int row) const {
    return c.tableView->model()->index(row, 0).data(Qt::CheckStateRole).toInt() == Qt::Checked;
  }

  QPoint centerOf(int row, std::string_view identifier) const {
    return c.tableView->visualRect(c.tableView->model()->index(row, columnOf(identifier))).center();
  }

  void click(int row, std::string_view identifier) {
    QTest::mouseClick(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(row, identifier));
  }

  // As a click on the column's header.
  void sortBy(std::string_view identifier) { c.tableView->sortByClickOn(columnOf(identifier)); }

  std::string status() const { return toText(c.statusLabel->text()); }
  std::string stats() const { return toText(c.statsLabel->text()); }
  std::string details() const { return toText(c.detailTextView->toPlainText()); }
  std::string console() const { return toText(c.consoleTextView->toPlainText()); }

  LogRecorder log;
  RunLoop queue;
  ScriptedDialogs dialogs;
  ViewController controller{queue, dialogs};
  const MainWindowControls& c = controller.controls();
};

}  // namespace tolvane
