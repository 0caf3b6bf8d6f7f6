// SPDX-License-Identifier: MIT
#include <QClipboard>
#include <QMainWindow>

#include "tests/ui/support/Window.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {
namespace {

class Keys : public Window {
 protected:
  Keys() {
    show();
    controller.activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&controller));
  }
};

TEST_F(Keys, ControlLFocusesTheURLFieldAndSelectsItsText) {
  c.repoURLField->setText("https://packages.example/");
  c.consoleTextView->setFocus();
  QTest::keyClick(&controller, Qt::Key_L, Qt::ControlModifier);
  EXPECT_TRUE(c.repoURLField->hasFocus());
  EXPECT_EQ(c.repoURLField->selectedText(), "https://packages.example/");
}

TEST_F(Keys, ControlFFocusesTheSearchFieldOncePackagesAreLoaded) {
  QTest::keyClick(&controller, Qt::Key_F, Qt::ControlModifier);
  EXPECT_FALSE(c.searchField->hasFocus());
  load(makePackages(2));
  QTest::keyClick(&controller, Qt::Key_F, Qt::ControlModifier);
  EXPECT_TRUE(c.searchField->hasFocus());
}

TEST_F(Keys, EscapeClearsTheSearchAsASearchOfItsOwn) {
  load(makePackages(12));
  c.searchField->setFocus();
  QTest::keyClicks(c.searchField, "p1");
  EXPECT_EQ(controller.packages().size(), 3u);
  controller.packageCheckboxClicked(0, true);
  QTest::keyClick(c.searchField, Qt::Key_Escape);
  EXPECT_EQ(c.searchField->text(), "");
  EXPECT_EQ(controller.packages().size(), 12u);
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
}

TEST_F(Keys, SpaceTicksTheHighlightedRowAndUnticksIt) {
  load(makePackages(3));
  click(1, "displayName");
  QTest::keyClick(c.tableView, Qt::Key_Space);
  EXPECT_TRUE(isTicked(1));
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 1 "));
  QTest::keyClick(c.tableView, Qt::Key_Space);
  EXPECT_FALSE(isTicked(1));
}

TEST_F(Keys, SpaceWithoutAHighlightDoesNothing) {
  load(makePackages(3));
  c.tableView->setFocus();
  c.tableView->clearSelection();
  QTest::keyClick(c.tableView, Qt::Key_Space);
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
}

TEST_F(Keys, ArrowsMoveTheHighlight) {
  load(makePackages(3));
  click(0, "displayName");
  QTest::keyClick(c.tableView, Qt::Key_Down);
  EXPECT_EQ(c.tableView->highlightedRow(), 1);
  EXPECT_EQ(details(), detailsText(controller.packages()[1]));
}

TEST_F(Keys, ControlCCopiesTheDetailsOfTheHighlightedRow) {
  load(makePackages(3));
  QApplication::clipboard()->setText("before");
  c.tableView->setFocus();
  QTest::keyClick(c.tableView, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text(), "before");
  click(1, "displayName");
  QTest::keyClick(c.tableView, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(toText(QApplication::clipboard()->text()), detailsText(controller.packages()[1]));
}

TEST_F(Keys, F5PressesFetchWhereItIsEnabled) {
  int clicks = 0;
  QObject::connect(c.fetchButton, &QPushButton::clicked, [&] { ++clicks; });
  c.fetchButton->setEnabled(false);
  QTest::keyClick(&controller, Qt::Key_F5);
  EXPECT_EQ(clicks, 0);
  c.fetchButton->setEnabled(true);
  QTest::keyClick(&controller, Qt::Key_F5);
  EXPECT_EQ(clicks, 1);
}

TEST_F(Keys, FetchCanBeChosenInAMenuWhereTheButtonCanBePressed) {
  EXPECT_TRUE(controller.actions().fetch->isEnabled());
  c.fetchButton->setEnabled(false);
  EXPECT_FALSE(controller.actions().fetch->isEnabled());
  c.fetchButton->setEnabled(true);
  EXPECT_TRUE(controller.actions().fetch->isEnabled());
}

TEST_F(Keys, ControlCCopiesWhatIsSelectedOfTheStatisticsOrAllOfThem) {
  load(makePackages(3));
  c.statsLabel->setFocus();
  QTest::keyClick(c.statsLabel, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(toText(QApplication::clipboard()->text()), stats());
  c.statsLabel->setSelection(0, 8);
  QTest::keyClick(c.statsLabel, Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(toText(QApplication::clipboard()->text()), "Shown: 3");
  QTest::keyClick(c.statsLabel, Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(toText(c.statsLabel->selectedText()), stats());
}

TEST_F(Keys, TabPassesThroughTheControlsAsTheyAreRead) {
  load(makePackages(3));
  c.cancelDownloadsButton->setEnabled(true);
  const QWidget* const order[] = {c.repoURLField,          c.repositoryTypePopup,
                                  c.cancelDownloadsButton, c.checkArchiveButton,
                                  c.downloadMissingButton, c.downloadSelectedButton,
                                  c.fetchButton,           c.selectAllButton,
                                  c.archiveMetadataButton, c.archiveMetadataInfoButton,
                                  c.searchField,           c.tableView,
                                  c.detailTextView,        c.consoleFilterPopup,
                                  c.consoleTextView};
  c.repoURLField->setFocus();
  for (const QWidget* control : order) {
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    EXPECT_EQ(toText(QApplication::focusWidget()->objectName()), toText(control->objectName()));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  }
  EXPECT_TRUE(c.repoURLField->hasFocus());
}

}  // namespace
}  // namespace tolvane
