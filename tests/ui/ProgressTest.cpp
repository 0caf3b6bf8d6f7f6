// SPDX-License-Identifier: MIT
#include <QElapsedTimer>
#include <algorithm>
#include <array>
#include <chrono>

#include "tests/ui/support/EventTime.h"
#include "tests/ui/support/PaintCounter.h"
#include "tests/ui/support/Window.h"

namespace tolvane {
namespace {

class Progress : public Window {
 protected:
  bool hidden() const { return bar.isHidden(); }
  const ProgressIndicator& bar = *c.progressIndicator;
};

TEST_F(Progress, IndeterminateMovesAndKeepsItsValue) {
  controller.showDeterminateProgressWithCompleted(1, 4);
  controller.showIndeterminateProgress();
  EXPECT_FALSE(hidden());
  EXPECT_TRUE(bar.isIndeterminate());
  EXPECT_EQ(bar.doubleValue(), 25);
  EXPECT_EQ(bar.maxValue(), 100);
}

TEST_F(Progress, DeterminateShowsTheShareInHundredths) {
  controller.showIndeterminateProgress();
  controller.showDeterminateProgressWithCompleted(1, 3);
  EXPECT_FALSE(hidden());
  EXPECT_FALSE(bar.isIndeterminate());
  EXPECT_EQ(bar.minValue(), 0);
  EXPECT_EQ(bar.maxValue(), 100);
  EXPECT_DOUBLE_EQ(bar.doubleValue(), 1.0 / 3.0 * 100);
}

TEST_F(Progress, IsNotDrawnForEachValueButWithAllElseThatHasChanged) {
  show();
  controller.showDeterminateProgressWithCompleted(0, 100);
  QCoreApplication::processEvents();
  PaintCounter counter(*c.progressIndicator);
  for (int i = 1; i <= 100; ++i) controller.showDeterminateProgressWithCompleted(i, 100);
  EXPECT_EQ(counter.paints, 0);
  EXPECT_TRUE(QTest::qWaitFor([&] { return counter.paints == 1; }));
}

TEST_F(Progress, OfNothingIsAnEmptyBar) {
  controller.showDeterminateProgressWithCompleted(0, 0);
  EXPECT_FALSE(hidden());
  EXPECT_FALSE(bar.isIndeterminate());
  EXPECT_EQ(bar.doubleValue(), 0);
  controller.showDeterminateProgressWithCompleted(7, 0);
  EXPECT_EQ(bar.doubleValue(), 0);
}

TEST_F(Progress, AboveTheTotalIsNotClampedButShownAsFull) {
  controller.showDeterminateProgressWithCompleted(3, 2);
  EXPECT_EQ(bar.doubleValue(), 150);
  EXPECT_EQ(bar.value(), 100);
}

TEST_F(Progress, ACompletedRunIsFullWhateverItsSuccess) {
  for (const bool success : {true, false}) {
    controller.showIndeterminateProgress();
    controller.showCompletedProgressSuccess(success);
    EXPECT_FALSE(hidden());
    EXPECT_FALSE(bar.isIndeterminate());
    EXPECT_EQ(bar.doubleValue(), 100);
  }
}

TEST_F(Progress, HidingLeavesAnEmptyDeterminateBar) {
  controller.showDeterminateProgressWithCompleted(1, 2);
  controller.showIndeterminateProgress();
  controller.hideProgressIndicator();
  EXPECT_TRUE(hidden());
  EXPECT_FALSE(bar.isIndeterminate());
  EXPECT_EQ(bar.doubleValue(), 0);
}

TEST_F(Progress, TheBarMovesWhileItIsIndeterminateAndNotAfterwards) {
  show();
  const auto frame = [this] { return c.progressIndicator->grab().toImage(); };
  controller.showIndeterminateProgress();
  const QImage first = frame();
  EXPECT_TRUE(QTest::qWaitFor([&] { return frame() != first; }));
  controller.showDeterminateProgressWithCompleted(1, 2);
  const QImage half = frame();
  EXPECT_FALSE(QTest::qWaitFor([&] { return frame() != half; }, 300));
}

TEST_F(Progress, ADelayedHideComesAfterItsDelayOnTheMainThread) {
  controller.showCompletedProgressSuccess(true);
  QElapsedTimer timer;
  timer.start();
  controller.hideProgressIndicatorAfterDelay(0.3);
  EXPECT_FALSE(hidden());
  EXPECT_TRUE(QTest::qWaitFor([this] { return hidden(); }));
  EXPECT_GE(timer.elapsed(), 300);
}

// A window whose bar is to be hidden in two seconds.
struct DelayedHide {
  DelayedHide(MainQueue& queue, Dialogs& dialogs) : controller(queue, dialogs) {
    controller.showCompletedProgressSuccess(true);
    start = std::chrono::steady_clock::now();
    controller.hideProgressIndicatorAfterDelay(2);
  }

  ViewController controller;
  EventTime hidden{*controller.controls().progressIndicator, QEvent::HideToParent};
  std::chrono::steady_clock::time_point start;
};

// Where a timer may round, whether it rounds down depends on the moment of its start, so there are
// four of them within a quarter of a second.
TEST_F(Progress, ADelayedHideOfSecondsIsNotAMomentEarly) {
  std::array<std::unique_ptr<DelayedHide>, 4> hides;
  for (auto& hide : hides) {
    hide = std::make_unique<DelayedHide>(queue, dialogs);
    QTest::qWait(60);
  }
  const auto isOver = [](const auto& hide) { return hide->hidden.at.has_value(); };
  ASSERT_TRUE(QTest::qWaitFor([&] { return std::all_of(hides.begin(), hides.end(), isOver); }));
  for (const auto& hide : hides) {
    EXPECT_GE(*hide->hidden.at - hide->start, std::chrono::seconds(2));
  }
}

TEST_F(Progress, ADelayedHideHidesWhatHasBegunSince) {
  controller.showCompletedProgressSuccess(true);
  controller.hideProgressIndicatorAfterDelay(0.3);
  QTest::qWait(100);
  controller.showIndeterminateProgress();
  EXPECT_FALSE(hidden());
  EXPECT_TRUE(QTest::qWaitFor([this] { return hidden(); }));
  EXPECT_FALSE(bar.isIndeterminate());
}

TEST_F(Progress, TheBarIsDrawnAsFarAsTheRunHasCome) {
  show();
  const auto filled = [this] {
    const QImage image = c.progressIndicator->grab().toImage();
    const QRgb color = image.pixel(4, image.height() / 2);
    int x = 4;
    while (x < image.width() &&
           qAbs(qGreen(image.pixel(x, image.height() / 2)) - qGreen(color)) < 24)
      ++x;
    return static_cast<double>(x) / image.width();
  };
  controller.showDeterminateProgressWithCompleted(1, 4);
  EXPECT_NEAR(filled(), 0.25, 0.02);
  controller.showDeterminateProgressWithCompleted(1999, 4000);
  EXPECT_NEAR(filled(), 0.5, 0.02);
}

}  // namespace
}  // namespace tolvane
