// SPDX-License-Identifier: MIT
#include <QMainWindow>
#include <QSignalSpy>

#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

struct Frame {
  int x, y, width, height;
  bool operator==(const Frame&) const = default;
};

void PrintTo(const Frame& frame, std::ostream* stream) {
  *stream << frame.x << ", " << frame.y << ", " << frame.width << " x " << frame.height;
}

// The frame, from the lower left corner of the control's parent.
Frame frameOf(const QWidget* control) {
  const QRect rectangle = control->geometry();
  const int y = control->parentWidget()->height() - rectangle.y() - rectangle.height();
  return {rectangle.x(), y, rectangle.width(), rectangle.height()};
}

struct Size {
  int width, height;
};

void PrintTo(const Size& size, std::ostream* stream) {
  *stream << size.width << " x " << size.height;
}

// Below the minimum, at it, larger with an odd width, and so small that hardly anything is left.
constexpr Size kSizes[] = {{800, 400}, {1030, 614}, {1601, 1000}, {500, 300}};

class Layout : public Window, public testing::WithParamInterface<Size> {
 protected:
  Layout() {
    controller.resize(W, H);
    show();
  }
  const int W = GetParam().width;
  const int H = GetParam().height;
};

TEST_P(Layout, TheTopRowIsRightAlignedAndTheURLFieldTakesTheRest) {
  EXPECT_EQ(frameOf(c.fetchButton), (Frame{W - 120, H - 50, 100, 28}));
  EXPECT_EQ(frameOf(c.downloadSelectedButton), (Frame{W - 230, H - 50, 100, 28}));
  EXPECT_EQ(frameOf(c.downloadMissingButton), (Frame{W - 340, H - 50, 100, 28}));
  EXPECT_EQ(frameOf(c.checkArchiveButton), (Frame{W - 450, H - 50, 100, 28}));
  EXPECT_EQ(frameOf(c.cancelDownloadsButton), (Frame{W - 560, H - 50, 100, 28}));
  EXPECT_EQ(frameOf(c.repositoryTypePopup), (Frame{W - 740, H - 50, 170, 28}));
  EXPECT_EQ(frameOf(c.repoURLField), (Frame{20, H - 50, std::max(W - 770, 220), 28}));
}

TEST_P(Layout, TheCaptionsAreBelowTheirButtons) {
  EXPECT_EQ(frameOf(c.checkArchiveSubtitleLabel), (Frame{W - 450, H - 66, 100, 14}));
  EXPECT_EQ(frameOf(c.downloadMissingSubtitleLabel), (Frame{W - 340, H - 66, 100, 14}));
  EXPECT_EQ(frameOf(c.downloadSelectedSubtitleLabel), (Frame{W - 230, H - 66, 100, 14}));
}

TEST_P(Layout, TheSecondRowHoldsTheOptionsAndTheStatus) {
  EXPECT_EQ(frameOf(c.selectAllButton), (Frame{20, H - 96, 100, 22}));
  EXPECT_EQ(frameOf(c.archiveMetadataButton), (Frame{125, H - 96, 205, 22}));
  EXPECT_EQ(frameOf(c.archiveMetadataInfoButton), (Frame{332, H - 96, 24, 22}));
  EXPECT_EQ(frameOf(c.statusLabel), (Frame{362, H - 96, std::max(W - 382, 200), 20}));
}

TEST_P(Layout, TheThirdRowHoldsTheSearchAndTheStatistics) {
  EXPECT_EQ(frameOf(c.searchField), (Frame{W - 250, H - 122, 230, 24}));
  EXPECT_EQ(frameOf(c.statsLabel), (Frame{20, H - 119, std::max(W - 290, 200), 20}));
  EXPECT_EQ(frameOf(c.progressIndicator), (Frame{20, H - 148, W - 40, 12}));
}

TEST_P(Layout, TheTableFillsTheMiddle) {
  EXPECT_EQ(frameOf(c.scrollView), (Frame{20, 202, W - 40, std::max(H - 374, 100)}));
  EXPECT_EQ(c.tableView->geometry(), c.scrollView->contentsRect());
}

TEST_P(Layout, TheBoxesShareTheBottomRow) {
  const int half = (W - 52) / 2;
  EXPECT_EQ(frameOf(c.detailBox), (Frame{20, 20, half, 170}));
  EXPECT_EQ(frameOf(c.consoleBox), (Frame{half + 32, 20, half, 170}));
}

TEST_P(Layout, EachBoxHoldsItsTitleAndItsText) {
  const int B = (W - 52) / 2;
  EXPECT_EQ(frameOf(c.detailTitleLabel), (Frame{12, 142, B - 24, 20}));
  EXPECT_EQ(frameOf(c.detailScrollView), (Frame{12, 12, B - 24, 124}));
  EXPECT_EQ(frameOf(c.consoleTitleLabel), (Frame{12, 142, 160, 20}));
  EXPECT_EQ(frameOf(c.consoleFilterPopup), (Frame{B - 132, 138, 120, 24}));
  EXPECT_EQ(frameOf(c.consoleScrollView), (Frame{12, 12, B - 24, 124}));
}

TEST_P(Layout, TextsFillTheirScrollViews) {
  EXPECT_EQ(c.detailTextView->geometry(), c.detailScrollView->contentsRect());
  EXPECT_EQ(c.consoleTextView->geometry(), c.consoleScrollView->contentsRect());
}

INSTANTIATE_TEST_SUITE_P(Sizes, Layout, testing::ValuesIn(kSizes));

using LayoutRules = Window;

TEST_F(LayoutRules, BelowTheMinimumFieldsKeepTheirLeastSizes) {
  controller.resize(600, 300);
  show();
  EXPECT_EQ(c.repoURLField->width(), 220);
  EXPECT_EQ(c.statusLabel->width(), 218);
  EXPECT_EQ(c.statsLabel->width(), 310);
  EXPECT_EQ(c.scrollView->height(), 100);
  controller.resize(480, 300);
  EXPECT_EQ(c.statusLabel->width(), 200);
  EXPECT_EQ(c.statsLabel->width(), 200);
}

TEST_F(LayoutRules, AnOddRestLeavesOnePointAtTheRightOfTheConsole) {
  controller.resize(1031, 614);
  show();
  EXPECT_EQ(controller.width() - c.consoleBox->geometry().right() - 1, 21);
  controller.resize(1032, 614);
  EXPECT_EQ(controller.width() - c.consoleBox->geometry().right() - 1, 20);
}

TEST_F(LayoutRules, EveryResizeLaysOutAnew) {
  show();
  controller.resize(1400, 900);
  EXPECT_EQ(frameOf(c.fetchButton), (Frame{1280, 850, 100, 28}));
}

TEST_F(LayoutRules, NothingOverlapsAtTheMinimum) {
  show();
  const QList<QWidget*> children =
      controller.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
  for (const QWidget* left : children) {
    for (const QWidget* right : children) {
      if (left == right) continue;
      EXPECT_FALSE(left->geometry().intersects(right->geometry()))
          << toText(left->objectName()) << " and " << toText(right->objectName());
    }
    EXPECT_TRUE(controller.rect().contains(left->geometry())) << toText(left->objectName());
  }
}

TEST_F(LayoutRules, NoFixedTitleIsCutOff) {
  show();
  for (const QAbstractButton* button : controller.findChildren<QAbstractButton*>()) {
    if (button->text().isEmpty()) continue;  // a part of another control
    EXPECT_LE(button->sizeHint().width(), button->width()) << toText(button->objectName());
    EXPECT_LE(button->fontMetrics().height(), button->height()) << toText(button->objectName());
  }
  for (const QLabel* label :
       {c.downloadSelectedSubtitleLabel, c.downloadMissingSubtitleLabel,
        c.checkArchiveSubtitleLabel, c.detailTitleLabel, c.consoleTitleLabel}) {
    EXPECT_LE(label->sizeHint().width(), label->width()) << toText(label->objectName());
    EXPECT_LE(label->fontMetrics().height(), label->height()) << toText(label->objectName());
  }
  for (const QComboBox* popup : {c.repositoryTypePopup, c.consoleFilterPopup}) {
    EXPECT_LE(popup->sizeHint().width(), popup->width()) << toText(popup->objectName());
  }
}

TEST_F(LayoutRules, TitlesAreMadeToFitALargeSystemFont) {
  const QFont before = QApplication::font();
  QFont large = before;
  large.setPixelSize(22);
  QApplication::setFont(large);
  show();
  EXPECT_LE(c.archiveMetadataButton->sizeHint().width(), c.archiveMetadataButton->width());
  EXPECT_LE(c.downloadSelectedButton->sizeHint().width(), c.downloadSelectedButton->width());
  QApplication::setFont(before);
}

using MinimumSize = Window;

TEST_F(MinimumSize, IsFixed) {
  EXPECT_EQ(ViewController::minimumWindowSizeForCurrentLayout(), QSize(1030, 614));
}

TEST_F(MinimumSize, WithoutAWindowNothingHappens) {
  controller.resize(400, 300);
  controller.updateMinimumWindowSize();
  EXPECT_EQ(controller.size(), QSize(400, 300));
  EXPECT_EQ(controller.minimumSize(), QSize(0, 0));
}

// A window with a controller of its own.
struct OpenedWindow {
  OpenedWindow(MainQueue& queue, Dialogs& dialogs, const QRect& frame) {
    window.setGeometry(frame);
    controller = new ViewController(queue, dialogs, makeHTTPClient, &window);
    window.setCentralWidget(controller);
    window.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
  }
  QMainWindow window;
  ViewController* controller;
};

TEST_F(MinimumSize, AWindowOpenedTooSmallIsGrownWithItsTopEdgeInPlace) {
  const OpenedWindow opened(queue, dialogs, {40, 50, 700, 400});
  EXPECT_EQ(opened.window.geometry(), QRect(40, 50, 1030, 614));
  EXPECT_EQ(opened.window.minimumSize(), QSize(1030, 614));
}

TEST_F(MinimumSize, OnlyTheSideThatIsTooSmallGrows) {
  const OpenedWindow narrow(queue, dialogs, {40, 50, 700, 650});
  EXPECT_EQ(narrow.window.geometry(), QRect(40, 50, 1030, 650));
  const OpenedWindow low(queue, dialogs, {40, 50, 1100, 400});
  EXPECT_EQ(low.window.geometry(), QRect(40, 50, 1100, 614));
}

TEST_F(MinimumSize, ALargerWindowIsLeftUntouched) {
  OpenedWindow opened(queue, dialogs, {40, 50, 1200, 700});
  EXPECT_EQ(opened.window.geometry(), QRect(40, 50, 1200, 700));
  struct Watcher : QObject {
    bool eventFilter(QObject*, QEvent* event) override {
      changes += event->type() == QEvent::Resize || event->type() == QEvent::Move;
      return false;
    }
    int changes = 0;
  } watcher;
  QTest::qWait(100);
  opened.window.installEventFilter(&watcher);
  opened.controller->updateMinimumWindowSize();
  QApplication::processEvents();
  EXPECT_EQ(watcher.changes, 0);
}

}  // namespace
}  // namespace tolvane
