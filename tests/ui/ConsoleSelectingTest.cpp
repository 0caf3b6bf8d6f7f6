// SPDX-License-Identifier: MIT
#include <QClipboard>
#include <QScrollBar>
#include <cmath>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

using testing::EndsWith;
using testing::MatchesRegex;

class ConsoleSelecting : public Window {
 protected:
  ConsoleSelecting() {
    show();
    append("first line");
    append("second line");
    append("third line");
    view.setFocus();
  }

  void append(const std::string& text) { controller.appendConsoleMessage(text, "info"); }

  QPoint at(int line, int column) const {
    const QFontMetricsF metrics(view.font());
    return {8 + static_cast<int>(metrics.horizontalAdvance('x') * column + 1),
            6 + static_cast<int>(std::ceil(metrics.height()) * line + 5)};
  }

  std::string selected() const { return toText(view.selectedText()); }
  static std::string clipboard() { return toText(QApplication::clipboard()->text()); }

  LongTextView& view = *c.consoleTextView;
};

TEST_F(ConsoleSelecting, TheMouseSelectsAcrossLines) {
  QTest::mousePress(view.viewport(), Qt::LeftButton, {}, at(0, 11));
  QTest::mouseMove(view.viewport(), at(1, 17));
  QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, at(1, 17));
  EXPECT_THAT(selected(), MatchesRegex("first line\n\\[..:..:..\\] second"));
  QTest::keySequence(&view, QKeySequence::Copy);
  EXPECT_EQ(clipboard(), selected());
}

TEST_F(ConsoleSelecting, ADoubleClickSelectsAWord) {
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at(1, 13));
  EXPECT_EQ(selected(), "second");
}

TEST_F(ConsoleSelecting, AClickDropsTheSelection) {
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at(1, 13));
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(0, 2));
  EXPECT_EQ(selected(), "");
}

TEST_F(ConsoleSelecting, KeysSelectAcrossLines) {
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(0, 11));
  QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
  QTest::keyClick(&view, Qt::Key_End, Qt::ShiftModifier);
  EXPECT_THAT(selected(), MatchesRegex("first line\n\\[..:..:..\\] second line"));
  QTest::keyClick(&view, Qt::Key_Home, Qt::ShiftModifier | Qt::ControlModifier);
  EXPECT_THAT(selected(), MatchesRegex("\\[..:..:..\\] "));
  QTest::keyClick(&view, Qt::Key_Right);
  EXPECT_EQ(selected(), "");
  QTest::keyClick(&view, Qt::Key_End, Qt::ShiftModifier | Qt::ControlModifier);
  EXPECT_THAT(selected(), EndsWith("third line"));
}

TEST_F(ConsoleSelecting, TheArrowsPassFromLineToLine) {
  QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, at(1, 0));
  QTest::keyClick(&view, Qt::Key_Left, Qt::ShiftModifier);
  EXPECT_EQ(selected(), "\n");
  QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
  QTest::keyClick(&view, Qt::Key_Right, Qt::ShiftModifier);
  EXPECT_EQ(selected(), "[");
  QTest::keyClick(&view, Qt::Key_Up, Qt::ShiftModifier);
  EXPECT_THAT(selected(), EndsWith("first line\n"));
}

TEST_F(ConsoleSelecting, AllIsSelectedByItsKey) {
  QTest::keySequence(&view, QKeySequence::SelectAll);
  EXPECT_EQ(selected() + "\n", console());
}

TEST_F(ConsoleSelecting, ASelectionOutlivesTheNextMessage) {
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, at(1, 13));
  append("fourth line");
  EXPECT_EQ(selected(), "second");
  c.consoleFilterPopup->setCurrentIndex(1);
  EXPECT_EQ(selected(), "");
}

TEST_F(ConsoleSelecting, KeysFromTheTopOfALongTextCostNoMoreThanAtItsEnd) {
  for (int i = 0; i < 20'000; ++i) append("message");
  QTest::keyClick(&view, Qt::Key_Home, Qt::ControlModifier);
  EXPECT_EQ(view.verticalScrollBar()->value(), 0);
  view.scrollToEnd();
  QTest::keyClick(&view, Qt::Key_Down);
  EXPECT_LT(view.verticalScrollBar()->value(), view.verticalScrollBar()->maximum() / 2);
  QTest::keyClick(&view, Qt::Key_End, Qt::ControlModifier);
  EXPECT_TRUE(view.isAtEnd());
}

TEST_F(ConsoleSelecting, TheWheelScrollsThroughALineTallerThanTheView) {
  append(std::string(20'000, 'x'));
  QScrollBar& bar = *view.verticalScrollBar();
  EXPECT_TRUE(view.isAtEnd());
  const int end = bar.value();
  const auto wheel = [this](int notches) {
    QWheelEvent event({20, 20}, view.viewport()->mapToGlobal(QPointF(20, 20)), {},
                      {0, 120 * notches}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view.viewport(), &event);
  };
  wheel(10);
  EXPECT_LT(bar.value(), end);
  EXPECT_GT(bar.value(), 3 * 64);
  wheel(-10);
  EXPECT_TRUE(view.isAtEnd());
  wheel(1000);
  EXPECT_EQ(bar.value(), 0);
}

TEST_F(ConsoleSelecting, DraggingBeyondTheEdgeScrolls) {
  for (int i = 0; i < 50; ++i) append("message");
  QTest::mousePress(view.viewport(), Qt::LeftButton, {}, at(3, 4));
  QTest::mouseMove(view.viewport(), QPoint(20, -40));
  EXPECT_TRUE(QTest::qWaitFor([this] { return view.verticalScrollBar()->value() == 0; }));
  QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, QPoint(20, -40));
  EXPECT_GT(selected().size(), 400u);
}

}  // namespace
}  // namespace tolvane
