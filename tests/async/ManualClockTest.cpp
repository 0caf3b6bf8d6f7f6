// SPDX-License-Identifier: MIT
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "async/Dispatch.h"
#include "tests/support/ManualClock.h"

namespace tolvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(ManualClock, ADelayedTaskRunsWhenItsTimeHasComeAndNoSooner) {
  ManualClock clock;
  std::vector<int> order;
  for (const int delay : {300, 100, 200}) {
    dispatchAfter(std::chrono::milliseconds(delay), [&, delay] { order.push_back(delay); });
  }
  clock.advance(99ms);
  EXPECT_THAT(order, IsEmpty());
  clock.advance(1ms);
  EXPECT_THAT(order, ElementsAre(100));
  clock.advance(24h);
  EXPECT_THAT(order, ElementsAre(100, 200, 300));
  EXPECT_EQ(clock.elapsed(), 24h + 100ms);
}

TEST(ManualClock, ADelayBeginsWithTheCall) {
  ManualClock clock;
  clock.advance(1h);
  bool ran = false;
  dispatchAfter(2s, [&] { ran = true; });
  clock.advance(1999ms);
  EXPECT_FALSE(ran);
  clock.advance(1ms);
  EXPECT_TRUE(ran);
}

TEST(ManualClock, ATaskRunsOnABackgroundThread) {
  ManualClock clock;
  std::thread::id runner;
  dispatchAfter(1s, [&] { runner = std::this_thread::get_id(); });
  clock.advance(1s);
  EXPECT_NE(runner, std::thread::id());
  EXPECT_NE(runner, std::this_thread::get_id());
}

TEST(ManualClock, TasksThatOtherThreadsDelayAreWaitedFor) {
  ManualClock clock;
  dispatchAsync([] { dispatchAfter(1s, [] {}); });
  EXPECT_TRUE(clock.waitForTasks(1));
}

TEST(ManualClock, ASkippedDelayStillCounts) {
  ManualClock clock;
  clock.skipDelays();
  std::promise<void> ran;
  dispatchAfter(2s, [&] { dispatchAfter(1500ms, [&] { ran.set_value(); }); });
  ran.get_future().wait();
  EXPECT_EQ(clock.elapsed(), 3500ms);
}

TEST(ManualClock, WithoutItDelaysPassByThemselves) {
  const auto discarded = std::make_shared<int>();
  {
    const ManualClock clock;
    dispatchAfter(0ms, [discarded] {});
  }
  EXPECT_EQ(discarded.use_count(), 1);
  std::promise<void> ran;
  dispatchAfter(1ms, [&] { ran.set_value(); });
  ran.get_future().wait();
}

}  // namespace
}  // namespace tolvane
