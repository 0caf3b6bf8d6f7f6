// SPDX-License-Identifier: MIT
#include <QHeaderView>

#include "tests/ui/support/Window.h"
#include "ui/packages/CollationKeys.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

class Sort : public Window {
 protected:
  std::vector<std::string> shown(std::string_view field) const {
    std::vector<std::string> texts;
    for (const auto& package : controller.packages()) {
      texts.emplace_back(stringValueForPackage(package, field));
    }
    return texts;
  }

  void loadField(const char* key, std::initializer_list<const char*> values) {
    std::vector<PackageEntry> packages;
    for (const char* value : values) packages.push_back(makePackage({{key, value}}));
    load(std::move(packages));
  }
};

TEST_F(Sort, SizesCompareAsNumbers) {
  loadField("Size", {"1000", "999", "", "words", "20"});
  sortBy("size");
  EXPECT_THAT(shown("size"), ElementsAre("", "words", "20", "999", "1000"));
}

TEST_F(Sort, ANegativeSizeComparesAboveEveryPositiveOne) {
  loadField("Size", {"-1", "9223372036854775807", "5"});
  sortBy("size");
  EXPECT_THAT(shown("size"), ElementsAre("5", "9223372036854775807", "-1"));
}

TEST_F(Sort, VersionsCompareAsText) {
  loadField("Version", {"9", "10"});
  sortBy("version");
  EXPECT_THAT(shown("version"), ElementsAre("10", "9"));
}

TEST_F(Sort, TextsCompareWhateverTheCaseAndByTheRulesOfALanguage) {
  loadField("Name", {"zebra", "Éclair", "apple", "Zoo", "banana", "ecru"});
  sortBy("displayName");
  EXPECT_THAT(shown("displayName"),
              ElementsAre("apple", "banana", "Éclair", "ecru", "zebra", "Zoo"));
}

TEST(CollationKeys, WhereNoRulesCanBeHadCompareByTheCodePointsOfTheSmallLetters) {
  CollationKeys keys("notalanguageatall");
  const CollationKey apple = keys.keyOf("apple");
  EXPECT_EQ(apple, keys.keyOf("APPLE"));
  EXPECT_LT(apple, keys.keyOf("apples"));
  EXPECT_LT(apple, keys.keyOf("Banana"));
  EXPECT_LT(keys.keyOf("zoo"), keys.keyOf("\u00C9clair"));
  EXPECT_LT(keys.keyOf(std::string(300, 'x') + "A"), keys.keyOf(std::string(300, 'X') + "b"));
}

TEST_F(Sort, EachColumnSortsByItsOwnField) {
  const std::pair<const char*, const char*> columns[] = {{"displayName", "Name"},
                                                         {"version", "Version"},
                                                         {"packageDescription", "Description"},
                                                         {"packageName", "Package"},
                                                         {"section", "Section"},
                                                         {"filename", "Filename"},
                                                         {"architecture", "Architecture"}};
  for (const auto& [identifier, key] : columns) {
    loadField(key, {"c", "a", "b"});
    sortBy(identifier);
    EXPECT_THAT(shown(identifier), ElementsAre("a", "b", "c")) << identifier;
  }
}

TEST_F(Sort, AnUnknownKeyHasNoText) {
  EXPECT_EQ(stringValueForPackage(makePackages(1)[0], "selected"), "");
  EXPECT_EQ(stringValueForPackage(makePackages(1)[0], "author"), "");
}

TEST_F(Sort, TheSortTextOfTheSizeIsTheUnchangedField) {
  EXPECT_EQ(stringValueForPackage(makePackage({{"Size", "1500000"}}), "size"), "1500000");
}

TEST_F(Sort, ASecondClickTurnsTheOrderRound) {
  loadField("Version", {"2", "1", "3"});
  show();
  QHeaderView& header = *c.tableView->horizontalHeader();
  const QPoint title(header.sectionViewportPosition(2) + 20, header.height() / 2);
  QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, title);
  EXPECT_THAT(shown("version"), ElementsAre("1", "2", "3"));
  EXPECT_EQ(header.sortIndicatorSection(), 2);
  EXPECT_EQ(header.sortIndicatorOrder(), Qt::AscendingOrder);
  QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, title);
  EXPECT_THAT(shown("version"), ElementsAre("3", "2", "1"));
  EXPECT_EQ(header.sortIndicatorOrder(), Qt::DescendingOrder);
}

TEST_F(Sort, PackagesThatCompareEqualKeepTheirOrderInBothDirections) {
  load({makePackage({{"Package", "a"}, {"Section", "S"}}),
        makePackage({{"Package", "b"}, {"Section", "s"}}),
        makePackage({{"Package", "c"}, {"Section", "R"}})});
  sortBy("section");
  EXPECT_THAT(shown("packageName"), ElementsAre("c", "a", "b"));
  sortBy("section");
  EXPECT_THAT(shown("packageName"), ElementsAre("a", "b", "c"));
}

TEST_F(Sort, TheColumnOfTheTicksCannotBeSorted) {
  loadField("Version", {"2", "1"});
  sortBy("version");
  const QHeaderView& header = *c.tableView->horizontalHeader();
  show();
  QTest::mouseClick(header.viewport(), Qt::LeftButton, {},
                    QPoint(header.sectionViewportPosition(0) + 20, header.height() / 2));
  EXPECT_THAT(shown("version"), ElementsAre("1", "2"));
  EXPECT_EQ(header.sortIndicatorSection(), 2);
  EXPECT_EQ(c.tableView->sortDescriptor(), (SortDescriptor{"version", true}));
}

TEST_F(Sort, ChangesTheShownRowsOnly) {
  loadField("Version", {"2", "1"});
  const std::string before = stats();
  sortBy("version");
  EXPECT_EQ(controller.allPackages()[0].version(), "2");
  EXPECT_EQ(stats(), before);
}

TEST_F(Sort, WithoutADescriptorNothingHappens) {
  loadField("Version", {"2", "1"});
  controller.sortDescriptorsDidChange();
  EXPECT_THAT(shown("version"), ElementsAre("2", "1"));
}

TEST_F(Sort, TheHighlightStaysWithItsPackageAndItsDetails) {
  loadAndShow(makePackages(3));
  click(0, "displayName");
  const std::string before = details();
  sortBy("size");
  sortBy("size");
  EXPECT_EQ(c.tableView->highlightedRow(), 2);
  EXPECT_EQ(details(), before);
}

TEST_F(Sort, ALoadIsNotSortedThoughTheArrowIsStillThere) {
  loadField("Version", {"2", "1"});
  sortBy("version");
  loadField("Version", {"5", "3", "4"});
  EXPECT_THAT(shown("version"), ElementsAre("5", "3", "4"));
  EXPECT_EQ(c.tableView->horizontalHeader()->sortIndicatorSection(), 2);
}

TEST_F(Sort, TheMenusActionsSortLikeTheHeaders) {
  loadField("Version", {"2", "1"});
  ASSERT_EQ(controller.actions().sort.size(), 8u);
  EXPECT_EQ(controller.actions().sort[1]->text(), "Version");
  controller.actions().sort[1]->trigger();
  EXPECT_THAT(shown("version"), ElementsAre("1", "2"));
  controller.actions().sort[1]->trigger();
  EXPECT_THAT(shown("version"), ElementsAre("2", "1"));
}

}  // namespace
}  // namespace tolvane
