// SPDX-License-Identifier: MIT
#include <QAccessible>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

class Accessibility : public Window {
 protected:
  static QAccessibleInterface* of(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget);
  }
  static std::string nameOf(QWidget* widget) { return toText(of(widget)->text(QAccessible::Name)); }
  static std::string descriptionOf(QWidget* widget) {
    return toText(of(widget)->text(QAccessible::Description));
  }
  QAccessibleTableInterface& table() const { return *of(c.tableView)->tableInterface(); }
};

TEST_F(Accessibility, EveryControlHasAName) {
  EXPECT_EQ(nameOf(c.repoURLField), "Repository URL");
  EXPECT_EQ(nameOf(c.repositoryTypePopup), "Repository type");
  EXPECT_EQ(nameOf(c.searchField), "Search packages");
  EXPECT_EQ(nameOf(c.statusLabel), "Status");
  EXPECT_EQ(nameOf(c.statsLabel), "Statistics");
  EXPECT_EQ(nameOf(c.progressIndicator), "Progress");
  EXPECT_EQ(nameOf(c.tableView), "Packages");
  EXPECT_EQ(nameOf(c.detailTextView), "Package Details");
  EXPECT_EQ(nameOf(c.consoleTextView), "Console");
  EXPECT_EQ(nameOf(c.consoleFilterPopup), "Console filter");
}

TEST_F(Accessibility, AControlWithATitleIsNamedByIt) {
  for (QAbstractButton* button : std::initializer_list<QAbstractButton*>{
           c.fetchButton, c.selectAllButton, c.archiveMetadataButton, c.archiveMetadataInfoButton,
           c.downloadSelectedButton, c.downloadMissingButton, c.checkArchiveButton,
           c.cancelDownloadsButton}) {
    EXPECT_EQ(nameOf(button), toText(button->text()));
  }
  EXPECT_EQ(nameOf(c.downloadSelectedSubtitleLabel), "To Local Folder");
  EXPECT_EQ(nameOf(c.consoleTitleLabel), "Console");
}

TEST_F(Accessibility, StatusAndStatisticsCanBeRead) {
  load(makePackages(2));
  EXPECT_EQ(descriptionOf(c.statusLabel), "Found 2 packages.");
  EXPECT_EQ(descriptionOf(c.statsLabel), stats());
}

TEST_F(Accessibility, CellsHeadersAndTicksCanBeRead) {
  load(makePackages(2));
  EXPECT_EQ(table().rowCount(), 2);
  EXPECT_EQ(table().columnCount(), 9);
  EXPECT_EQ(toText(table().columnDescription(1)), "Name");
  EXPECT_EQ(table().cellAt(1, 1)->text(QAccessible::Name), "Package 1");
  QAccessibleInterface* const tick = table().cellAt(1, 0);
  EXPECT_EQ(tick->text(QAccessible::Name), "Select Package 1");
  EXPECT_TRUE(tick->state().checkable);
  EXPECT_FALSE(tick->state().checked);
  controller.packageCheckboxClicked(1, true);
  EXPECT_TRUE(tick->state().checked);
}

// The toolkit's action for a cell; with Space it ticks.
TEST_F(Accessibility, ARowCanBeHighlighted) {
  load(makePackages(2));
  QAccessibleActionInterface* const actions = table().cellAt(1, 0)->actionInterface();
  ASSERT_NE(actions, nullptr);
  actions->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_EQ(c.tableView->highlightedRow(), 1);
  QTest::keyClick(c.tableView, Qt::Key_Space);
  EXPECT_TRUE(isTicked(1));
}

TEST_F(Accessibility, ChoicesCanBeReadAndMade) {
  EXPECT_EQ(descriptionOf(c.repositoryTypePopup), "Cydia / APT");
  show();
  of(c.repositoryTypePopup)
      ->actionInterface()
      ->doAction(QAccessibleActionInterface::showMenuAction());
  EXPECT_TRUE(c.repositoryTypePopup->view()->isVisible());
  c.repositoryTypePopup->hidePopup();
}

TEST_F(Accessibility, TheOrderCanBeRead) {
  load(makePackages(2));
  const auto describe = [this](int column) {
    return toText(c.tableView->model()
                      ->headerData(column, Qt::Horizontal, Qt::AccessibleDescriptionRole)
                      .toString());
  };
  EXPECT_EQ(describe(1), "");
  sortBy("displayName");
  EXPECT_EQ(describe(1), "Sorted ascending");
  EXPECT_EQ(describe(2), "");
  sortBy("displayName");
  EXPECT_EQ(describe(1), "Sorted descending");
}

TEST_F(Accessibility, TextsCanBeRead) {
  controller.appendConsoleMessage("Hello", "info");
  QAccessibleTextInterface* const text = of(c.consoleTextView)->textInterface();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(toText(text->text(0, text->characterCount())), console());
  EXPECT_TRUE(of(c.consoleTextView)->state().readOnly);
  EXPECT_EQ(of(c.detailTextView)->text(QAccessible::Value), "Select a package to view details.");
}

TEST_F(Accessibility, TheBarsValueCanBeRead) {
  controller.showDeterminateProgressWithCompleted(1, 4);
  QAccessibleValueInterface* const value = of(c.progressIndicator)->valueInterface();
  ASSERT_NE(value, nullptr);
  EXPECT_EQ(value->currentValue().toInt(), 25);
  EXPECT_EQ(value->maximumValue().toInt(), 100);
}

}  // namespace
}  // namespace tolvane
