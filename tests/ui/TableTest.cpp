// SPDX-License-Identifier: MIT
#include <QHeaderView>
#include <QScrollBar>

#include "tests/ui/support/Window.h"
#include "ui/packages/DescriptionText.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {
namespace {

constexpr const char* kLongDescription =
    "A description that goes on and on, over more lines than any row has room for, since whoever "
    "wrote it had a great deal to tell and told it all. It has a second sentence, and a third one, "
    "and none of them says anything that the first had not said before, only at greater length and "
    "with more commas, until at last it comes to an end, here, or perhaps only a little later.";

PackageEntry described(const std::string& description) {
  return makePackage({{"Package", "p"}, {"Description", description}});
}

using Table = Window;

TEST_F(Table, HasOneRowForEachShownPackageInTheirOrder) {
  load(makePackages(3));
  EXPECT_EQ(controller.numberOfRowsInTableView(), 3);
  EXPECT_EQ(c.tableView->model()->rowCount(), 3);
  EXPECT_EQ(cell(0, "packageName"), "p0");
  EXPECT_EQ(cell(2, "packageName"), "p2");
}

TEST_F(Table, EachColumnShowsItsField) {
  load({makePackage({{"Package", "org.example.tide"},
                     {"Name", "Tide Bar"},
                     {"Version", "2.6"},
                     {"Architecture", "iphoneos-arm"},
                     {"Section", "Widgets"},
                     {"Filename", "debs/tide.deb"},
                     {"Size", "1500000"},
                     {"Description", "Shows tides"}})});
  EXPECT_EQ(cell(0, "displayName"), "Tide Bar");
  EXPECT_EQ(cell(0, "version"), "2.6");
  EXPECT_EQ(cell(0, "packageDescription"), "Shows tides");
  EXPECT_EQ(cell(0, "packageName"), "org.example.tide");
  EXPECT_EQ(cell(0, "section"), "Widgets");
  EXPECT_EQ(cell(0, "size"), "1.5 MB");
  EXPECT_EQ(cell(0, "filename"), "debs/tide.deb");
  EXPECT_EQ(cell(0, "architecture"), "iphoneos-arm");
}

TEST_F(Table, ANameThatIsThereButEmptyIsShownEmpty) {
  load({makePackage({{"Package", "p"}, {"Name", ""}}), makePackage({{"Package", "q"}})});
  EXPECT_EQ(cell(0, "displayName"), "");
  EXPECT_EQ(cell(1, "displayName"), "q");
}

TEST_F(Table, ASizeThatIsAbsentOrNoNumberCountsAsZero) {
  load({makePackage({}), makePackage({{"Size", "large"}}), makePackage({{"Size", "-5"}}),
        makePackage({{"Size", "99999999999999999999"}})});
  EXPECT_EQ(cell(0, "size"), "Zero KB");
  EXPECT_EQ(cell(1, "size"), "Zero KB");
  EXPECT_EQ(cell(2, "size"), "-5 bytes");
  EXPECT_EQ(cell(3, "size"), "9223372 TB");
}

TEST_F(Table, ARowWithoutADescriptionOrOutsideTheListIs28High) {
  load({described("")});
  EXPECT_EQ(controller.heightOfRow(0), 28);
  EXPECT_EQ(controller.heightOfRow(1), 28);
  EXPECT_EQ(controller.heightOfRow(-1), 28);
}

TEST_F(Table, AShortDescriptionIs28AndAVeryLongOne86) {
  load({described("One short line"), described(kLongDescription),
        described(std::string(1'000'000, 'x'))});
  EXPECT_EQ(controller.heightOfRow(0), 28);
  EXPECT_EQ(controller.heightOfRow(1), 86);
  EXPECT_EQ(controller.heightOfRow(2), 86);
}

// What a text of so many lines makes of its row. A line takes whole pixels, its leading among them.
int heightOfLines(int lines, const QFont& font) {
  const QFontMetricsF metrics(font);
  const double line = metrics.height() + std::max(0.0, metrics.leading());
  return std::clamp(lines * static_cast<int>(std::ceil(line)) + 10, 28, 86);
}

TEST_F(Table, BetweenTheTwoARowIsItsTextAndTen) {
  load({described("one"), described("one\ntwo"), described("one\ntwo\nthree"),
        described("one\ntwo\nthree\nfour")});
  QFont font = c.tableView->font();
  for (int pixels = 8; pixels <= 15; ++pixels) {
    font.setPixelSize(pixels);
    c.tableView->setFont(font);
    for (int row = 0; row < 4; ++row) {
      EXPECT_EQ(controller.heightOfRow(row), heightOfLines(row + 1, font)) << row << ' ' << pixels;
    }
    EXPECT_GT(controller.heightOfRow(2), 28) << pixels;
    EXPECT_LT(controller.heightOfRow(2), 86) << pixels;
  }
}

// In a column a pixel narrower than the text and twelve, the last word is wrapped to a second line.
TEST_F(Table, ADescriptionHasTheColumnsWidthLessTwelve) {
  const QFont font = c.tableView->font();
  const int column = columnOf("packageDescription");
  for (const char* text :
       {"nnnnnnnnnnnn n", "nnnnnnnn nnnnnnnn nnn", "iiiiiiiiiiiiiiiii nnnnnnnnn"}) {
    load({described(text)});
    const int width = static_cast<int>(std::ceil(QFontMetricsF(font).horizontalAdvance(text)));
    ASSERT_GT(width, 81) << text;
    c.tableView->setColumnWidth(column, width + 12);
    EXPECT_EQ(controller.heightOfRow(0), 28) << text;
    c.tableView->setColumnWidth(column, width + 11);
    EXPECT_EQ(controller.heightOfRow(0), heightOfLines(2, font)) << text;
  }
}

TEST_F(Table, ANarrowColumnIsMeasuredAsIfItsTextWere80Wide) {
  load({described("some words that need a few lines of eighty")});
  c.tableView->setColumnWidth(columnOf("packageDescription"), 92);
  const int height = controller.heightOfRow(0);
  c.tableView->setColumnWidth(columnOf("packageDescription"), 45);
  EXPECT_EQ(controller.heightOfRow(0), height);
}

TEST_F(Table, OfALongDescriptionOnlyTheBeginningIsMeasured) {
  const QFont font = QApplication::font();
  const std::string text(kLongDescription);
  const double whole = DescriptionText::height(text, font, 288, 1e9);
  EXPECT_LT(DescriptionText::height(text, font, 288, 40), whole);
  EXPECT_GT(DescriptionText::height(text, font, 288, 40), 40);
  // Much longer than what is looked at first, and still measured to its end where there is room.
  std::string words;
  for (int i = 0; i < 3000; ++i) words += "word ";
  const double perLine = DescriptionText::height("word", font, 288, 1e9);
  EXPECT_GT(DescriptionText::height(words, font, 288, 1e9), 300 * perLine);
}

TEST_F(Table, RowsThatComeIntoViewHaveTheirHeightsAndOthersAreEstimated) {
  std::vector<PackageEntry> packages(1000, described(kLongDescription));
  loadAndShow(packages);
  EXPECT_EQ(c.tableView->rowHeight(0), 86);
  EXPECT_EQ(c.tableView->rowHeight(999), 28);
  c.tableView->scrollToBottom();
  QApplication::processEvents();
  EXPECT_EQ(c.tableView->rowHeight(999), 86);
  EXPECT_EQ(c.tableView->rowHeight(500), 28);
}

TEST_F(Table, AtTheEndTheLastRowIsAtTheLowerEdge) {
  loadAndShow(std::vector<PackageEntry>(1000, described(kLongDescription)));
  c.tableView->verticalScrollBar()->setValue(c.tableView->verticalScrollBar()->maximum());
  const QRect last = c.tableView->visualRect(c.tableView->model()->index(999, 1));
  EXPECT_NEAR(last.bottom(), c.tableView->viewport()->height(), 2);
}

TEST_F(Table, ScrollingUpMovesWhatIsShownByTheStepHoweverTallTheRowsAbove) {
  loadAndShow(std::vector<PackageEntry>(1000, described(kLongDescription)));
  QScrollBar& bar = *c.tableView->verticalScrollBar();
  bar.setValue(bar.maximum() / 2);
  const int row = c.tableView->rowAt(0);
  const int y = c.tableView->rowViewportPosition(row);
  bar.setValue(bar.value() - 40);
  EXPECT_EQ(c.tableView->rowViewportPosition(row), y + 40);
  EXPECT_EQ(c.tableView->rowHeight(row - 1), 86);
}

TEST_F(Table, HeightsStayWhileAColumnIsDraggedAndAreMeasuredAnewOnAReload) {
  loadAndShow({described(kLongDescription)});
  EXPECT_EQ(c.tableView->rowHeight(0), 86);
  c.tableView->setColumnWidth(columnOf("packageDescription"), 3000);
  QApplication::processEvents();
  EXPECT_EQ(c.tableView->rowHeight(0), 86);
  c.tableView->setRows(controller.packages());
  QApplication::processEvents();
  EXPECT_EQ(c.tableView->rowHeight(0), 28);
}

TEST_F(Table, RowsAreMeasuredInTheFontThatTheyAreDrawnInAndAnewWhenItChanges) {
  loadAndShow({described("one\ntwo"), described("one")});
  const int before = c.tableView->rowHeight(0);
  QFont large = c.tableView->font();
  large.setPixelSize(24);
  c.tableView->setFont(large);
  QApplication::processEvents();
  EXPECT_GT(c.tableView->rowHeight(0), before);
  EXPECT_EQ(c.tableView->rowHeight(0), controller.heightOfRow(0));
  EXPECT_GE(c.tableView->rowHeight(0), 2 * QFontMetrics(large).height());
  EXPECT_EQ(c.tableView->rowHeight(1), controller.heightOfRow(1));
}

TEST_F(Table, RowsFollowTheSystemsFont) {
  loadAndShow({described("one\ntwo")});
  const QFont before = QApplication::font();
  QFont large = before;
  large.setPixelSize(24);
  QApplication::setFont(large);
  QApplication::processEvents();
  EXPECT_GE(c.tableView->rowHeight(0), 2 * QFontMetrics(large).height());
  QApplication::setFont(before);
}

TEST_F(Table, ATickPaintsItsColumnOnly) {
  loadAndShow(makePackages(3));
  struct Watcher : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      if (event->type() == QEvent::Paint) painted += static_cast<QPaintEvent*>(event)->region();
      return false;
    }
    QRegion painted;
  } watcher;
  QApplication::processEvents();
  c.tableView->viewport()->installEventFilter(&watcher);
  controller.packageCheckboxClicked(1, true);
  QApplication::processEvents();
  EXPECT_TRUE(watcher.painted.contains(centerOf(1, "selected")));
  EXPECT_FALSE(watcher.painted.contains(centerOf(1, "displayName")));
}

// Where two images differ.
QRect differenceOf(const QImage& left, const QImage& right) {
  QRect difference;
  for (int y = 0; y < left.height(); ++y) {
    for (int x = 0; x < left.width(); ++x) {
      if (left.pixel(x, y) != right.pixel(x, y)) difference |= QRect(x, y, 1, 1);
    }
  }
  return difference;
}

TEST_F(Table, WhatScrollingPaintsIsWhatAWholePaintingDoes) {
  std::vector<PackageEntry> packages;
  for (int i = 0; i < 300; ++i) packages.push_back(described(std::string(i * 37 % 400, 'w')));
  loadAndShow(packages);
  c.tableView->setFocus();  // the cursor of a text field may blink between the two images
  for (const int step : {90, 400, -60, 3000, -1234}) {
    QScrollBar& bar = *c.tableView->verticalScrollBar();
    bar.setValue(bar.value() + step);
    QApplication::processEvents();
    const QImage shown = controller.screen()->grabWindow(controller.winId()).toImage();
    const QImage whole = controller.grab().toImage();
    if (shown.isNull()) GTEST_SKIP() << "the screen keeps no image";
    EXPECT_EQ(differenceOf(shown.convertToFormat(whole.format()), whole), QRect()) << step;
  }
}

using Details = Window;

TEST_F(Details, OfAPackageWithoutOptionalFieldsHaveExactlySevenLines) {
  EXPECT_EQ(detailsText(makePackage({})),
            "Name: \nIdentifier: \nVersion: \nArchitecture: \nSection: \nSize: \nFilename: \n");
}

TEST_F(Details, ShowEveryFieldInItsOrder) {
  EXPECT_EQ(detailsText(makePackage({{"Package", "org.example.tide"},
                                     {"Name", "Tide Bar"},
                                     {"Version", "2.6"},
                                     {"Architecture", "iphoneos-arm"},
                                     {"Section", "Widgets"},
                                     {"Size", "1500000"},
                                     {"Filename", "debs/tide.deb"},
                                     {"Author", "A. Author"},
                                     {"Maintainer", "M. Maintainer"},
                                     {"Depends", "mobilesubstrate"},
                                     {"Homepage", "https://tide.example/"},
                                     {"Depiction", "https://tide.example/depiction"},
                                     {"MD5sum", "00ff"},
                                     {"SHA256", "11ee"},
                                     {"Description", "Shows tides\nand waves"}})),
            "Name: Tide Bar\nIdentifier: org.example.tide\nVersion: 2.6\n"
            "Architecture: iphoneos-arm\nSection: Widgets\nSize: 1500000\n"
            "Filename: debs/tide.deb\nAuthor: A. Author\nMaintainer: M. Maintainer\n"
            "Depends: mobilesubstrate\nHomepage: https://tide.example/\n"
            "Depiction: https://tide.example/depiction\nMD5: 00ff\nSHA256: 11ee\n"
            "\nDescription:\nShows tides\nand waves\n");
}

TEST_F(Details, FollowTheHighlightedRowAndReplaceWhatWasThere) {
  loadAndShow(makePackages(3));
  click(1, "displayName");
  EXPECT_EQ(details(), detailsText(controller.packages()[1]));
  click(2, "version");
  EXPECT_EQ(details(), detailsText(controller.packages()[2]));
}

TEST_F(Details, SayThatNothingIsHighlighted) {
  loadAndShow(makePackages(3));
  click(1, "displayName");
  c.tableView->clearSelection();
  EXPECT_EQ(details(), "Select a package to view details.");
}

TEST_F(Details, AreShownAgainOnADoubleClick) {
  loadAndShow(makePackages(3));
  c.detailTextView->setPlainText("something else");
  controller.tableViewDoubleClicked(-1);
  controller.tableViewDoubleClicked(3);
  EXPECT_EQ(details(), "something else");
  QTest::mouseDClick(c.tableView->viewport(), Qt::LeftButton, {}, centerOf(1, "displayName"));
  EXPECT_EQ(details(), detailsText(controller.packages()[1]));
}

TEST_F(Details, HighlightingDoesNotTick) {
  loadAndShow(makePackages(3));
  click(1, "displayName");
  EXPECT_EQ(c.tableView->highlightedRow(), 1);
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_TRUE(controller.selectedPackages().empty());
}

TEST_F(Details, OnlyOneRowIsHighlighted) {
  loadAndShow(makePackages(3));
  click(0, "displayName");
  QTest::mouseClick(c.tableView->viewport(), Qt::LeftButton, Qt::ControlModifier,
                    centerOf(2, "displayName"));
  EXPECT_EQ(c.tableView->selectionModel()->selectedRows().size(), 1);
}

TEST_F(Details, MarkupIsTextLikeAnyOther) {
  load({makePackage({{"Package", "p"}, {"Description", "<b>bold</b>"}})});
  controller.showDetailsForPackage(controller.packages()[0]);
  EXPECT_TRUE(details().ends_with("\nDescription:\n<b>bold</b>\n")) << details();
}

}  // namespace
}  // namespace tolvane
