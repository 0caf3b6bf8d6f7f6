// SPDX-License-Identifier: MIT
#include <QElapsedTimer>
#include <QTextBoundaryFinder>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "ui/Strings.h"
#include "ui/widgets/LongText.h"
#include "ui/widgets/LongTextView.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::Le;
using testing::SizeIs;

std::string repeated(std::string_view text, std::size_t times) {
  std::string result;
  for (; times > 0; --times) result += text;
  return result;
}

class Lines : public testing::Test {
 protected:
  void append(std::string text, std::string_view type = "info") {
    texts.push_back(std::move(text));
    appendLines(lines, texts.back(), type);
  }

  std::vector<std::string> pieces() const {
    std::vector<std::string> pieces;
    for (const TextLine& line : lines) pieces.emplace_back(line.text);
    return pieces;
  }

  std::string whole() const { return toText(LongText::ofLines(lines).toPlainText()); }

  // Whether each piece ends where a person sees a character end.
  bool isCutBetweenGraphemes() const {
    const QString text = LongText::ofLines(lines).toPlainText();
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (const TextLine& line : lines) {
      finder.setPosition(static_cast<qsizetype>(line.start));
      if (!finder.isAtBoundary()) return false;
    }
    return true;
  }

  std::deque<std::string> texts;
  TextLines lines;
};

TEST_F(Lines, AreTheTextBetweenLineBreaks) {
  append("one\n\ntwo");
  EXPECT_THAT(pieces(), ElementsAre("one", "", "two"));
  EXPECT_EQ(whole(), "one\n\ntwo\n");
}

TEST_F(Lines, OfWordsAreNotCutBeforeTheyAreVeryLong) {
  append(repeated("some words ", 2'500));
  EXPECT_THAT(lines, SizeIs(1));
}

TEST_F(Lines, OfAMegabyteAreCutAfterAWord) {
  const std::string text = repeated("A sentence that comes again. ", 36'000);
  append(text);
  EXPECT_THAT(lines, SizeIs(Le(40u)));
  for (const TextLine& line : lines) EXPECT_TRUE(line.text.ends_with(' '));
  EXPECT_EQ(whole(), text + "\n");
}

TEST_F(Lines, AreCutBeforeAWordTooLongForARow) {
  append("short words, then " + std::string(10'000, 'x') + " and more");
  EXPECT_EQ(lines.front().text, "short words, then ");
  EXPECT_TRUE(lines.back().text.ends_with(" and more"));
}

TEST_F(Lines, WithAnEndlessWordAreCutInItAndNothingIsLost) {
  const std::string text(1'000'000, 'x');
  append(text);
  EXPECT_THAT(lines, SizeIs(250));
  EXPECT_EQ(whole(), text + "\n");
}

TEST_F(Lines, AreNotCutInsideWhatLooksLikeOneCharacter) {
  for (const char* grapheme : {"e\u0301\u0323", "\U0001F469\u200D\U0001F469\u200D\U0001F466",
                               "\U0001F1E9\U0001F1EA", "\u0915\u094D\u0937\u093F"}) {
    lines.clear();
    const std::string text = "x" + repeated(grapheme, 20'000);
    append(text);
    EXPECT_GT(lines.size(), 1u) << grapheme;
    EXPECT_TRUE(isCutBetweenGraphemes()) << grapheme;
    EXPECT_EQ(whole(), text + "\n");
  }
}

TEST_F(Lines, OfOneEndlessCharacterAreCutAllTheSame) {
  const std::string text = "e" + repeated("\u0301", 50'000);
  append(text);
  EXPECT_GT(lines.size(), 1u);
  EXPECT_EQ(whole(), text + "\n");
}

TEST_F(Lines, OfBytesThatAreNotUTF8AreCutAllTheSame) {
  const std::string text = std::string(50'000, '\xBF') + std::string(50'000, '\xC3');
  append(text);
  std::string all;
  for (const TextLine& line : lines) all += line.text;
  EXPECT_GT(lines.size(), 1u);
  EXPECT_EQ(all, text);
}

TEST_F(Lines, KnowWhereTheyBegin) {
  append("a\U0001F600b");
  append("two");
  append("");
  append("three");
  const LongText all = LongText::ofLines(lines);
  EXPECT_EQ(all.length(), 5u + 4 + 1 + 6);
  EXPECT_EQ(all.startOf(1), 5u);
  EXPECT_EQ(all.lineAt(0), 0u);
  EXPECT_EQ(all.lineAt(4), 0u);
  EXPECT_EQ(all.lineAt(5), 1u);
  EXPECT_EQ(all.lineAt(all.length()), 3u);
  EXPECT_EQ(toText(all.textBetween(3, 8)), "b\ntwo");
  EXPECT_EQ(toText(all.textBetween(8, 9)), "\n");
  EXPECT_EQ(LongText().length(), 0u);
  EXPECT_EQ(LongText().textBetween(0, 5), QString());
}

// The rows of a long paragraph are as wide as those of a short one: none ends in its middle.
TEST(LongTextView, AParagraphHasNoShortRowInItsMiddle) {
  QWidget window;
  LongTextView view(&window);
  view.resize(400, 8000);
  window.resize(400, 8000);
  window.show();
  view.setPlainText(repeated("w", 3'000));
  const QImage image = view.viewport()->grab().toImage();
  const int row = QFontMetrics(view.font()).height();
  const auto inked = [&](int y, int from, int to) {
    for (int x = from; x < to; ++x) {
      if (image.pixel(x, y) != image.pixel(399, 7999)) return true;
    }
    return false;
  };
  int last = 0;
  for (int y = 0; y < image.height(); ++y) {
    if (inked(y, 0, 60)) last = y;
  }
  for (int y = row / 2; y < last - row; y += row) {
    bool reaches = false;
    for (int dy = 0; dy < row; ++dy) reaches |= inked(y + dy, 360, 398);
    EXPECT_TRUE(reaches) << "row at " << y;
  }
}

}  // namespace
}  // namespace tolvane
