// SPDX-License-Identifier: MIT
#include "tests/ui/support/PaintCounter.h"
#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

class Ticks : public Window {
 protected:
  bool selectAllIsOn() const { return c.selectAllButton->isChecked(); }
  void clickSelectAll() {
    QTest::mouseClick(c.selectAllButton, Qt::LeftButton, {}, QPoint(10, 11));
  }
  std::vector<std::string> ticked() const { return identifiersOf(controller.selectedPackages()); }
};

TEST_F(Ticks, AKeyIsNameVersionArchitectureAndFilename) {
  EXPECT_EQ(keyForPackage(makePackages(1)[0]), "p0|1.0|iphoneos-arm|debs/p0.deb");
  EXPECT_EQ(keyForPackage(makePackage({})), "|||");
}

TEST_F(Ticks, EntriesOfOneKeyAreOneTickHoweverTheirValuesMakeIt) {
  TickedPackages keys;
  const PackageEntry entry = makePackage({{"Package", "a|b"}, {"Version", "c"}});
  keys.insert(entry);
  EXPECT_TRUE(keys.contains(makePackage({{"Package", "a"}, {"Version", "b|c"}})));
  EXPECT_TRUE(keys.contains(makePackage({{"Package", "a|b"}, {"Version", "c"}, {"Size", "1"}})));
  EXPECT_FALSE(keys.contains(makePackage({{"Package", "a|b"}, {"Version", "d"}})));
}

TEST_F(Ticks, AClickTicksAndAnotherOneUnticks) {
  loadAndShow(makePackages(3));
  click(1, "selected");
  EXPECT_EQ(controller.selectedPackageKeys().size(), 1u);
  EXPECT_TRUE(controller.selectedPackageKeys().contains(controller.packages()[1]));
  EXPECT_TRUE(isTicked(1));
  EXPECT_FALSE(isTicked(0));
  click(1, "selected");
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_FALSE(isTicked(1));
}

TEST_F(Ticks, ATickDoesNotHighlightItsRow) {
  loadAndShow(makePackages(3));
  click(1, "selected");
  EXPECT_EQ(c.tableView->highlightedRow(), -1);
  EXPECT_EQ(details(), "Select a package to view details.");
}

TEST_F(Ticks, TwoQuickClicksAreTwoClicks) {
  loadAndShow(makePackages(3));
  QTest::mouseDClick(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(1, "selected"));
  EXPECT_FALSE(isTicked(1));
  click(1, "selected");
  EXPECT_TRUE(isTicked(1));
}

TEST_F(Ticks, APressThatIsLetGoElsewhereDoesNothing) {
  loadAndShow(makePackages(3));
  QTest::mousePress(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(1, "selected"));
  QTest::mouseRelease(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(2, "selected"));
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
}

TEST_F(Ticks, APressIsForgottenWhenOtherPackagesComeMeanwhile) {
  loadAndShow(makePackages(3));
  QTest::mousePress(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(1, "selected"));
  load(makePackages(4));
  QTest::mouseRelease(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(1, "selected"));
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
}

TEST_F(Ticks, ARowOutsideTheListIsIgnored) {
  load(makePackages(2));
  controller.packageCheckboxClicked(-1, true);
  controller.packageCheckboxClicked(2, true);
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
}

TEST_F(Ticks, PackagesWithoutAnythingShareOneTick) {
  load({makePackage({}), makePackage({{"Description", "another"}}),
        makePackage({{"Package", "p"}})});
  controller.packageCheckboxClicked(0, true);
  EXPECT_TRUE(isTicked(0));
  EXPECT_TRUE(isTicked(1));
  EXPECT_FALSE(isTicked(2));
  EXPECT_EQ(controller.selectedPackages().size(), 2u);
}

TEST_F(Ticks, TickingEveryRowOneByOneTurnsSelectAllOn) {
  load(makePackages(2));
  controller.packageCheckboxClicked(0, true);
  EXPECT_FALSE(selectAllIsOn());
  controller.packageCheckboxClicked(1, true);
  EXPECT_TRUE(selectAllIsOn());
  controller.packageCheckboxClicked(0, false);
  EXPECT_FALSE(selectAllIsOn());
}

TEST_F(Ticks, TheStatisticsFollowEachTick) {
  load(makePackages(2));
  controller.packageCheckboxClicked(0, true);
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 1 "));
  controller.packageCheckboxClicked(0, false);
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 0 "));
}

TEST_F(Ticks, SelectAllTicksExactlyTheShownRows) {
  loadAndShow(makePackages(12));
  search("p1");
  clickSelectAll();
  EXPECT_TRUE(selectAllIsOn());
  EXPECT_EQ(controller.selectedPackageKeys().size(), 3u);
  EXPECT_THAT(ticked(), ElementsAre("p1", "p10", "p11"));
  EXPECT_TRUE(isTicked(0));
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 3 "));
}

// Every search takes the ticks away, so that no control leaves one on a hidden row.
class HiddenTick : public Ticks {
 protected:
  HiddenTick() {
    loadAndShow(makePackages(12));
    search("p1");
    const_cast<TickedPackages&>(controller.selectedPackageKeys())
        .insert(controller.allPackages()[5]);
  }
};

TEST_F(HiddenTick, KeepsSelectAllOffThoughEveryShownRowIsTicked) {
  for (int row = 0; row < 3; ++row) click(row, "selected");
  EXPECT_THAT(ticked(), ElementsAre("p1", "p10", "p11"));
  EXPECT_EQ(controller.selectedPackageKeys().size(), 4u);
  EXPECT_FALSE(selectAllIsOn());
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 4 "));
}

TEST_F(HiddenTick, CountsForSelectAll) {
  click(0, "selected");
  click(1, "selected");
  EXPECT_TRUE(selectAllIsOn());
  EXPECT_FALSE(isTicked(2));
}

TEST_F(HiddenTick, IsRemovedWhenSelectAllIsTurnedOn) {
  clickSelectAll();
  EXPECT_TRUE(selectAllIsOn());
  EXPECT_EQ(controller.selectedPackageKeys().size(), 3u);
  EXPECT_THAT(ticked(), ElementsAre("p1", "p10", "p11"));
}

TEST_F(HiddenTick, IsRemovedWhenSelectAllIsTurnedOff) {
  c.selectAllButton->setChecked(true);
  clickSelectAll();
  EXPECT_FALSE(selectAllIsOn());
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_THAT(stats(), testing::HasSubstr("Selected: 0 "));
}

TEST_F(Ticks, SelectAllTurnedOffUnticksEverything) {
  loadAndShow(makePackages(3));
  clickSelectAll();
  clickSelectAll();
  EXPECT_FALSE(selectAllIsOn());
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_FALSE(isTicked(0));
}

TEST_F(Ticks, SharedKeysKeepSelectAllOffThoughEveryRowIsTicked) {
  load({makePackage({}), makePackage({}), makePackage({{"Package", "p"}})});
  controller.packageCheckboxClicked(0, true);
  controller.packageCheckboxClicked(2, true);
  EXPECT_EQ(controller.selectedPackages().size(), 3u);
  EXPECT_EQ(controller.selectedPackageKeys().size(), 2u);
  EXPECT_FALSE(selectAllIsOn());
}

TEST_F(Ticks, SurviveASort) {
  load(makePackages(3));
  controller.packageCheckboxClicked(0, true);
  sortBy("displayName");
  sortBy("displayName");
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("p2", "p1", "p0"));
  EXPECT_TRUE(isTicked(2));
  EXPECT_FALSE(isTicked(0));
}

TEST_F(Ticks, AreRemovedByEverySearch) {
  load(makePackages(3));
  controller.packageCheckboxClicked(0, true);
  search("p");
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_FALSE(isTicked(0));
}

TEST_F(Ticks, TickedPackagesComeInTheOrderOnTheScreen) {
  load(makePackages(3));
  controller.packageCheckboxClicked(0, true);
  controller.packageCheckboxClicked(2, true);
  EXPECT_THAT(ticked(), ElementsAre("p0", "p2"));
  sortBy("packageName");
  sortBy("packageName");
  EXPECT_THAT(ticked(), ElementsAre("p2", "p0"));
}

TEST_F(Ticks, SelectAllKeepsTheHighlightTheDetailsAndThePlace) {
  loadAndShow(makePackages(200));
  c.tableView->scrollTo(c.tableView->model()->index(120, 1), QAbstractItemView::PositionAtTop);
  click(122, "displayName");
  const int top = c.tableView->rowAt(0);
  const std::string before = details();
  clickSelectAll();
  QApplication::processEvents();
  EXPECT_EQ(c.tableView->highlightedRow(), 122);
  EXPECT_EQ(details(), before);
  EXPECT_EQ(c.tableView->rowAt(0), top);
}

TEST_F(Ticks, SelectAllIsPaintedWhetherItIsTurnedOnOrOff) {
  loadAndShow(makePackages(3));
  QApplication::processEvents();
  PaintCounter table(*c.tableView->viewport());
  for (const bool on : {true, false}) {
    table.paints = 0;
    clickSelectAll();
    EXPECT_EQ(isTicked(0), on);
    EXPECT_TRUE(QTest::qWaitFor([&] { return table.paints > 0; }, 1000)) << on;
  }
}

TEST_F(Ticks, SelectAllMeasuresTheRowsAnewAfterAColumnWasDragged) {
  loadAndShow({makePackage({{"Package", "p"}, {"Description", std::string(200, 'w')}})});
  const int before = c.tableView->rowHeight(0);
  ASSERT_GT(before, 28);
  c.tableView->setColumnWidth(columnOf("packageDescription"), 10'000);
  QApplication::processEvents();
  ASSERT_EQ(c.tableView->rowHeight(0), before);
  clickSelectAll();
  EXPECT_EQ(c.tableView->rowHeight(0), 28);
}

TEST_F(Ticks, AHundredThousandRowsWithOneKeyHaveOneTick) {
  load(std::vector<PackageEntry>(100'000, makePackage({{"Package", "same"}})));
  show();
  clickSelectAll();
  EXPECT_EQ(controller.selectedPackageKeys().size(), 1u);
  EXPECT_EQ(controller.selectedPackages().size(), 100'000u);
  EXPECT_TRUE(isTicked(99'999));
}

}  // namespace
}  // namespace tolvane
