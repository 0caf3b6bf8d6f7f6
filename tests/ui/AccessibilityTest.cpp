// SPDX-License-Identifier: MIT
#include <QAccessible>
#include <QElapsedTimer>
#include <QHeaderView>
#include <functional>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

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
  QAccessibleInterface* header(int column) const {
    return of(c.tableView)->child(c.tableView->accessibleChildIndex(-1, column));
  }
  std::string describe(int column) const {
    return toText(header(column)->text(QAccessible::Description));
  }
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

TEST_F(Accessibility, ATickCanBeToggled) {
  load(makePackages(2));
  QAccessibleInterface* const tick = table().cellAt(1, 0);
  QAccessibleActionInterface* const actions = tick->actionInterface();
  ASSERT_NE(actions, nullptr);
  EXPECT_THAT(actions->actionNames(), ElementsAre(QAccessibleActionInterface::toggleAction()));
  actions->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_TRUE(isTicked(1));
  EXPECT_TRUE(tick->state().checked);
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 1 "));
  EXPECT_EQ(c.tableView->highlightedRow(), -1);
  actions->doAction(QAccessibleActionInterface::toggleAction());
  EXPECT_FALSE(isTicked(1));
}

TEST_F(Accessibility, ARowCanBeHighlighted) {
  load(makePackages(2));
  QAccessibleInterface* const cell = table().cellAt(1, 1);
  cell->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(c.tableView->highlightedRow(), 1);
  EXPECT_TRUE(cell->state().selected);
  EXPECT_FALSE(cell->state().checkable);
  EXPECT_THAT(table().selectedRows(), ElementsAre(1));
  EXPECT_EQ(table().selectedCells().size(), 9);
  EXPECT_TRUE(table().unselectRow(1));
  EXPECT_EQ(c.tableView->highlightedRow(), -1);
  EXPECT_TRUE(table().selectRow(0));
  EXPECT_TRUE(table().isRowSelected(0));
  EXPECT_FALSE(table().selectRow(2));
}

TEST_F(Accessibility, CellsAndHeadersAreFoundAtTheirPositionOnTheScreen) {
  loadAndShow(makePackages(2));
  QAccessibleInterface* const tree = of(c.tableView);
  EXPECT_EQ(tree->role(), QAccessible::Table);
  EXPECT_EQ(tree->childCount(), 3 * 10);
  for (int i = 0; i < tree->childCount(); ++i) {
    QAccessibleInterface* const part = tree->child(i);
    ASSERT_NE(part, nullptr) << i;
    EXPECT_EQ(tree->indexOfChild(part), i);
    EXPECT_EQ(part->parent(), tree);
  }
  QAccessibleInterface* const cell = table().cellAt(1, 1);
  EXPECT_EQ(tree->childAt(cell->rect().center().x(), cell->rect().center().y()), cell);
  EXPECT_EQ(cell->tableCellInterface()->rowIndex(), 1);
  EXPECT_EQ(cell->tableCellInterface()->columnIndex(), 1);
  const auto headers = cell->tableCellInterface()->columnHeaderCells();
  ASSERT_EQ(headers.size(), 1);
  EXPECT_EQ(headers[0]->text(QAccessible::Name), "Name");
  EXPECT_EQ(headers[0]->rect().left(), cell->rect().left());
  EXPECT_EQ(table().cellAt(2, 0), nullptr);
  EXPECT_EQ(table().cellAt(0, 9), nullptr);
  EXPECT_EQ(tree->child(30), nullptr);
}

TEST_F(Accessibility, CellsFollowTheRows) {
  load(makePackages(12));
  EXPECT_EQ(table().cellAt(1, 1)->text(QAccessible::Name), "Package 1");
  search("p11");
  EXPECT_EQ(table().rowCount(), 1);
  EXPECT_EQ(table().cellAt(0, 1)->text(QAccessible::Name), "Package 11");
  EXPECT_EQ(table().cellAt(1, 1), nullptr);
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

TEST_F(Accessibility, TheOrderCanBeReadAndChanged) {
  load(makePackages(2));
  EXPECT_EQ(header(0)->text(QAccessible::Name), "Selected");
  EXPECT_EQ(header(1)->role(), QAccessible::ColumnHeader);
  EXPECT_EQ(describe(1), "");
  sortBy("displayName");
  EXPECT_EQ(describe(1), "Sorted ascending");
  EXPECT_EQ(describe(2), "");
  header(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_EQ(describe(1), "Sorted descending");
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("p1", "p0"));
}

TEST_F(Accessibility, RowsOfALoadOrASearchAreReadOutAsUnsorted) {
  load(makePackages(2));
  const auto isUnsorted = [this] { return describe(1).empty() && describe(2).empty(); };
  const std::function<void()> newRows[] = {
      [this] { search("p"); }, [this] { search(""); }, [this] { load(makePackages(3)); },
      [this] { controller.clearRepositoryStateWithStatus("Gone."); }};
  for (const auto& bring : newRows) {
    sortBy("displayName");
    EXPECT_FALSE(isUnsorted());
    bring();
    EXPECT_TRUE(isUnsorted());
    EXPECT_EQ(c.tableView->horizontalHeader()->sortIndicatorSection(), 1);
  }
}

TEST_F(Accessibility, TextsCanBeRead) {
  controller.appendConsoleMessage("Hello", "info");
  QAccessibleTextInterface* const text = of(c.consoleTextView)->textInterface();
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(toText(text->text(0, text->characterCount())), console());
  EXPECT_TRUE(of(c.consoleTextView)->state().readOnly);
  EXPECT_EQ(of(c.detailTextView)->text(QAccessible::Value), "Select a package to view details.");
}

TEST_F(Accessibility, AnyPartOfTheConsoleCanBeRead) {
  controller.appendConsoleMessage("Hello there", "info");
  controller.appendConsoleMessage("An error", "error");
  controller.appendConsoleMessage("The end", "info");
  QAccessibleTextInterface& text = *of(c.consoleTextView)->textInterface();
  const QString whole = c.consoleTextView->toPlainText();
  EXPECT_EQ(text.characterCount(), whole.size());
  for (int start = 0; start < whole.size(); ++start) {
    EXPECT_EQ(text.text(start, start + 30), whole.mid(start, 30)) << start;
  }
  int start = 0;
  int end = 0;
  const int place = static_cast<int>(whole.indexOf("error"));
  EXPECT_EQ(text.textAtOffset(place, QAccessible::WordBoundary, &start, &end), "error");
  EXPECT_EQ(start, place);
  EXPECT_EQ(end, place + 5);
  EXPECT_EQ(text.textAtOffset(place, QAccessible::LineBoundary, &start, &end).trimmed(),
            whole.split('\n').at(1));
  EXPECT_EQ(text.textAfterOffset(place, QAccessible::LineBoundary, &start, &end).trimmed(),
            whole.split('\n').at(2));
  EXPECT_EQ(text.textBeforeOffset(place, QAccessible::LineBoundary, &start, &end).trimmed(),
            whole.split('\n').at(0));
  EXPECT_EQ(text.textAtOffset(place, QAccessible::NoBoundary, &start, &end), whole);
  c.consoleFilterPopup->setCurrentIndex(1);
  EXPECT_EQ(text.text(0, text.characterCount()), c.consoleTextView->toPlainText());
  EXPECT_EQ(text.characterCount(), c.consoleTextView->toPlainText().size());
}

TEST_F(Accessibility, ReadingOneLineOfAFullConsoleCostsNoMoreThanOfAnEmptyOne) {
  for (int i = 0; i < 20'000; ++i) controller.appendConsoleMessage("A message", "info");
  QAccessibleTextInterface& text = *of(c.consoleTextView)->textInterface();
  QElapsedTimer timer;
  timer.start();
  int start = 0;
  int end = 0;
  for (int i = 0; i < 10'000; ++i) {
    text.textAtOffset(text.characterCount() / 2, QAccessible::LineBoundary, &start, &end);
  }
  // To put the whole text together each time would take minutes.
  EXPECT_LT(timer.elapsed(), 10'000);
}

TEST_F(Accessibility, NoEventsAreSentWithoutAScreenReader) {
  static int count;
  count = 0;
  QAccessible::installUpdateHandler([](QAccessibleEvent*) { ++count; });
  controller.appendConsoleMessage("One", "info");
  controller.appendConsoleMessage("Two", "info");
  QAccessible::installUpdateHandler(nullptr);
  EXPECT_EQ(count, 0);
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
