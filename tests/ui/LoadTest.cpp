// SPDX-License-Identifier: MIT
#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

using Load = Window;

TEST_F(Load, ShowsTheListInTheOrderInWhichItCame) {
  load({makePackage({{"Package", "b"}}), makePackage({{"Package", "a"}})});
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("b", "a"));
  EXPECT_THAT(identifiersOf(controller.allPackages()), ElementsAre("b", "a"));
  ASSERT_TRUE(controller.currentRepositoryURL());
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), "https://packages.example/repo/");
}

TEST_F(Load, IsLoggedInTheSystemLogAndTheConsoleAndNowhereElse) {
  load(makePackages(2));
  EXPECT_THAT(log.lines(),
              ElementsAre("[UI] viewDidLoad", "[UI] buildInterface", "[UI] Loaded 2 packages"));
  EXPECT_TRUE(log.messages().empty());
  ASSERT_EQ(controller.consoleMessages().size(), 1u);
  EXPECT_THAT(controller.consoleMessages()[0].message,
              EndsWith("] Loaded 2 package(s) into table."));
  EXPECT_EQ(controller.consoleMessages()[0].type, "success");
}

TEST_F(Load, OfPackagesEnablesWhatNeedsThem) {
  load(makePackages(2));
  for (const QWidget* control : std::initializer_list<const QWidget*>{
           c.downloadSelectedButton, c.selectAllButton, c.searchField, c.downloadMissingButton,
           c.checkArchiveButton}) {
    EXPECT_TRUE(control->isEnabled()) << toText(control->objectName());
  }
  EXPECT_FALSE(c.cancelDownloadsButton->isEnabled());
  EXPECT_EQ(status(), "Found 2 packages.");
}

TEST_F(Load, OfNothingDisablesThemAgain) {
  load(makePackages(2));
  load({});
  for (const QWidget* control : std::initializer_list<const QWidget*>{
           c.downloadSelectedButton, c.selectAllButton, c.searchField, c.downloadMissingButton,
           c.checkArchiveButton}) {
    EXPECT_FALSE(control->isEnabled()) << toText(control->objectName());
  }
  EXPECT_EQ(status(), "Found 0 packages.");
  EXPECT_EQ(stats(),
            "Shown: 0 / 0    Unique: 0    Architectures: 0    Selected: 0    "
            "Estimated size: Zero KB");
}

TEST_F(Load, DropsTicksSearchDetailsAndProgressOfTheOneBefore) {
  loadAndShow(makePackages(12));
  search("p1");
  controller.packageCheckboxClicked(0, true);
  controller.packageCheckboxClicked(1, true);
  controller.packageCheckboxClicked(2, true);
  click(1, "displayName");
  controller.showIndeterminateProgress();
  load(makePackages(3));
  EXPECT_EQ(c.searchField->text(), "");
  EXPECT_EQ(controller.packages().size(), 3u);
  EXPECT_FALSE(c.selectAllButton->isChecked());
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_EQ(details(), "Select a package to view details.");
  EXPECT_EQ(c.tableView->highlightedRow(), -1);
  EXPECT_TRUE(c.progressIndicator->isHidden());
  // Emptying the search field is no search.
  EXPECT_EQ(status(), "Found 3 packages.");
}

TEST_F(Load, ReplacesTheRowsOfTheTable) {
  loadAndShow(makePackages(12));
  load(makePackages(3));
  EXPECT_EQ(c.tableView->model()->rowCount(), 3);
  EXPECT_EQ(c.tableView->rowAt(0), 0);
}

}  // namespace
}  // namespace tolvane
