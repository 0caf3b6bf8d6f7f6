// SPDX-License-Identifier: MIT
#include <limits>

#include "tests/ui/support/Window.h"
#include "ui/packages/PackageStatistics.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Search : public Window {
 protected:
  std::vector<std::string> shown() const { return identifiersOf(controller.packages()); }
};

TEST_F(Search, KeepsWhatContainsTheTextWhateverItsCase) {
  load({makePackage({{"Package", "a"}, {"Section", "Tabs"}}), makePackage({{"Package", "c"}})});
  search("Ab");
  EXPECT_THAT(shown(), ElementsAre("a"));
}

TEST_F(Search, LooksIntoEightFields) {
  for (const char* key : {"Name", "Package", "Description", "Section", "Author", "Maintainer",
                          "Filename", "Version"}) {
    load({makePackage({{key, "the needle is here"}}), makePackage({{"Package", "hay"}})});
    search("NEEDLE");
    EXPECT_EQ(controller.packages().size(), 1u) << key;
  }
}

TEST_F(Search, LooksIntoNoOtherField) {
  for (const char* key :
       {"Architecture", "Depends", "MD5sum", "SHA256", "Homepage", "Depiction", "Size"}) {
    load({makePackage({{key, "the needle is here"}})});
    search("needle");
    EXPECT_THAT(shown(), IsEmpty()) << key;
  }
}

TEST_F(Search, IsOneTextWithItsBlanksAndWithoutWildcards) {
  load({makePackage({{"Package", "a"}, {"Name", "tide bar"}}),
        makePackage({{"Package", "b"}, {"Name", "bar tide"}}),
        makePackage({{"Package", "c"}, {"Name", "t*e"}})});
  search("tide bar");
  EXPECT_THAT(shown(), ElementsAre("a"));
  search("t*e");
  EXPECT_THAT(shown(), ElementsAre("c"));
}

TEST_F(Search, LettersWithMarksAreOtherLetters) {
  load({makePackage({{"Package", "a"}, {"Name", "ÉCLAIR"}}),
        makePackage({{"Package", "b"}, {"Name", "eclair"}})});
  search("éclair");
  EXPECT_THAT(shown(), ElementsAre("a"));
}

TEST_F(Search, TrimsBlanksAround) {
  load(makePackages(3));
  search("  \u00A0P1\t ");
  EXPECT_THAT(shown(), ElementsAre("p1"));
}

TEST_F(Search, OfBlanksOnlyShowsEverythingAndStillRemovesTheTicks) {
  load(makePackages(3));
  controller.packageCheckboxClicked(1, true);
  search("   ");
  EXPECT_EQ(shown().size(), 3u);
  EXPECT_THAT(controller.selectedPackageKeys(), IsEmpty());
  EXPECT_EQ(status(), "Showing 3 of 3 packages.");
}

TEST_F(Search, ThatChangesNoRowRemovesTheTicksAndTurnsSelectAllOff) {
  load(makePackages(2));
  controller.packageCheckboxClicked(0, true);
  controller.packageCheckboxClicked(1, true);
  EXPECT_TRUE(c.selectAllButton->isChecked());
  search("p");
  EXPECT_EQ(shown().size(), 2u);
  EXPECT_THAT(controller.selectedPackageKeys(), IsEmpty());
  EXPECT_FALSE(c.selectAllButton->isChecked());
}

TEST_F(Search, ReturnSearchesAgain) {
  loadAndShow(makePackages(2));
  search("p");
  controller.packageCheckboxClicked(0, true);
  QTest::keyClick(c.searchField, Qt::Key_Return);
  EXPECT_THAT(controller.selectedPackageKeys(), IsEmpty());
}

TEST_F(Search, EachKeystrokeSearches) {
  loadAndShow(makePackages(12));
  QTest::keyClick(c.searchField, 'p');
  EXPECT_EQ(shown().size(), 12u);
  QTest::keyClick(c.searchField, '1');
  EXPECT_THAT(shown(), ElementsAre("p1", "p10", "p11"));
  QTest::keyClick(c.searchField, '1');
  EXPECT_THAT(shown(), ElementsAre("p11"));
  QTest::keyClick(c.searchField, Qt::Key_Backspace);
  EXPECT_EQ(shown().size(), 3u);
}

TEST_F(Search, DiscardsASortAndSoDoesClearingIt) {
  load(makePackages(3));
  sortBy("packageName");
  sortBy("packageName");
  EXPECT_THAT(shown(), ElementsAre("p2", "p1", "p0"));
  search("p");
  EXPECT_THAT(shown(), ElementsAre("p0", "p1", "p2"));
  sortBy("packageName");
  search("");
  EXPECT_THAT(shown(), ElementsAre("p0", "p1", "p2"));
}

TEST_F(Search, SaysHowManyAreShown) {
  load(makePackages(12));
  search("p1");
  EXPECT_EQ(status(), "Showing 3 of 12 packages.");
}

TEST_F(Search, WithoutAHitDisablesWhatNeedsRowsOnly) {
  load(makePackages(2));
  c.checkArchiveButton->setEnabled(false);
  search("nothing like it");
  EXPECT_FALSE(c.selectAllButton->isEnabled());
  EXPECT_FALSE(c.downloadSelectedButton->isEnabled());
  EXPECT_TRUE(c.downloadMissingButton->isEnabled());
  EXPECT_FALSE(c.checkArchiveButton->isEnabled());
  EXPECT_TRUE(c.searchField->isEnabled());
  search("p");
  EXPECT_TRUE(c.selectAllButton->isEnabled());
  EXPECT_TRUE(c.downloadSelectedButton->isEnabled());
  EXPECT_FALSE(c.checkArchiveButton->isEnabled());
}

TEST_F(Search, WithoutPackagesDisablesTheDownloads) {
  c.downloadMissingButton->setEnabled(true);
  controller.applySearchFilter();
  EXPECT_FALSE(c.downloadMissingButton->isEnabled());
  EXPECT_EQ(status(), "Showing 0 of 0 packages.");
}

TEST_F(Search, EmptiesTheDetails) {
  loadAndShow(makePackages(3));
  click(1, "displayName");
  search("p1");
  EXPECT_EQ(details(), "Select a package to view details.");
  EXPECT_EQ(c.tableView->highlightedRow(), -1);
}

TEST_F(Search, WritesNothingToTheLogs) {
  load(makePackages(3));
  const auto lines = log.allLines();
  search("p1");
  EXPECT_EQ(log.allLines(), lines);
  EXPECT_EQ(controller.consoleMessages().size(), 1u);
}

using Statistics = Window;

TEST_F(Statistics, AreOneLine) {
  load({makePackage(
            {{"Package", "a"}, {"Version", "1"}, {"Architecture", "arm"}, {"Size", "1000000"}}),
        makePackage(
            {{"Package", "a"}, {"Version", "2"}, {"Architecture", "arm64"}, {"Size", "500000"}}),
        makePackage({{"Package", ""}, {"Architecture", ""}, {"Size", "words"}})});
  EXPECT_EQ(stats(),
            "Shown: 3 / 3    Unique: 1    Architectures: 2    Selected: 0    "
            "Estimated size: 1.5 MB");
}

TEST_F(Statistics, CountTwoVersionsOfAPackageOnce) {
  load({makePackage({{"Package", "a"}, {"Version", "1"}}),
        makePackage({{"Package", "a"}, {"Version", "2"}})});
  EXPECT_THAT(stats(), testing::StartsWith("Shown: 2 / 2    Unique: 1    "));
}

TEST_F(Statistics, AreOfTheShownRowsAndNotOfTheTickedOnes) {
  load(makePackages(12));
  controller.packageCheckboxClicked(5, true);
  EXPECT_EQ(stats(),
            "Shown: 12 / 12    Unique: 12    Architectures: 1    Selected: 1    "
            "Estimated size: 66 KB");
  search("p1");
  EXPECT_EQ(stats(),
            "Shown: 3 / 12    Unique: 3    Architectures: 1    Selected: 0    "
            "Estimated size: 22 KB");
}

TEST_F(Statistics, WithoutRowsAreZero) {
  load(makePackages(3));
  search("nothing like it");
  EXPECT_EQ(stats(),
            "Shown: 0 / 3    Unique: 0    Architectures: 0    Selected: 0    "
            "Estimated size: Zero KB");
}

TEST_F(Statistics, ArchitecturesThatAlternateCountOnceEach) {
  std::vector<PackageEntry> packages;
  for (int i = 0; i < 10; ++i) {
    packages.push_back(makePackage({{"Architecture", i % 2 == 0 ? "arm" : "arm64"}}));
  }
  load(std::move(packages));
  EXPECT_THAT(stats(), testing::HasSubstr("Architectures: 2 "));
}

TEST_F(Statistics, TheSumStopsAtTheLargestNumber) {
  load({makePackage({{"Size", "9223372036854775807"}}), makePackage({{"Size", "1000"}})});
  EXPECT_THAT(stats(), testing::EndsWith("Estimated size: 9223372 TB"));
  load({makePackage({{"Size", "-9223372036854775808"}}), makePackage({{"Size", "-1000"}})});
  EXPECT_THAT(stats(), testing::EndsWith("Estimated size: -9223372 TB"));
}

TEST(PackageStatistics, TheSumIsTheTrueOneThoughItPassesTheLargestNumberOnItsWay) {
  const auto sumOf = [](std::initializer_list<const char*> sizes) {
    std::vector<PackageEntry> packages;
    for (const char* size : sizes) packages.push_back(makePackage({{"Size", size}}));
    return PackageStatistics::of(packages).estimatedSize;
  };
  using Limits = std::numeric_limits<std::int64_t>;
  EXPECT_EQ(sumOf({"9223372036854775807", "5", "-10"}), Limits::max() - 5);
  EXPECT_EQ(sumOf({"-9223372036854775808", "-5", "10"}), Limits::min() + 5);
  EXPECT_EQ(sumOf({"9223372036854775807", "9223372036854775807", "-9223372036854775808"}),
            Limits::max() - 1);
  EXPECT_EQ(sumOf({"9223372036854775807", "1"}), Limits::max());
  EXPECT_EQ(sumOf({"-9223372036854775808", "-1"}), Limits::min());
}

TEST_F(Statistics, NegativeSizesAreSubtracted) {
  load({makePackage({{"Size", "1000"}}), makePackage({{"Size", "-400"}})});
  EXPECT_THAT(stats(), testing::EndsWith("Estimated size: 600 bytes"));
}

}  // namespace
}  // namespace tolvane
