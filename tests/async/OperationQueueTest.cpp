// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <thread>
#include <vector>

#include "async/Dispatch.h"
#include "async/OperationQueue.h"
#include "tests/async/DispatchHelpers.h"

namespace tolvane {
namespace {

using namespace std::chrono_literals;

TEST(OperationQueue, OperationsStartInTheOrderInWhichTheyWereAdded) {
  OperationQueue queue(1);
  std::vector<int> order;
  std::promise<void> done;
  for (int i = 0; i < 1000; ++i) {
    queue.addOperation([&order, i] { order.push_back(i); });
  }
  queue.addOperation([&] { done.set_value(); });
  done.get_future().wait();
  EXPECT_EQ(order, upTo(1000));
}

TEST(OperationQueue, NoMoreThanItsWidthRunAtOnce) {
  for (const int width : {1, 2, 3}) {
    OperationQueue queue(width);
    Gauge gauge;
    std::latch done(100);
    for (int i = 0; i < 100; ++i) {
      queue.addOperation([&] {
        gauge.enter();
        std::this_thread::sleep_for(100us);
        gauge.leave();
        done.count_down();
      });
    }
    done.wait();
    EXPECT_LE(gauge.most(), width);
  }
}

TEST(OperationQueue, FiveRunAtOnceAndLeaveRoomForOtherWork) {
  OperationQueue queue(5);
  std::latch together(6);
  std::latch done(6);
  const auto work = [&] {
    together.arrive_and_wait();
    done.count_down();
  };
  for (int i = 0; i < 5; ++i) queue.addOperation(work);
  dispatchAsync(work);
  done.wait();
}

TEST(OperationQueue, AWidthAboveTheNumberOfThreadsIsHarmless) {
  OperationQueue queue(1'000'000);
  std::latch done(1000);
  for (int i = 0; i < 1000; ++i) queue.addOperation([&] { done.count_down(); });
  done.wait();
}

TEST(OperationQueue, ItsWidthIsAtLeastOne) {
  OperationQueue queue(0);
  EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
  queue.setMaxConcurrentOperationCount(5);
  EXPECT_EQ(queue.maxConcurrentOperationCount(), 5);
  queue.setMaxConcurrentOperationCount(-1);
  EXPECT_EQ(queue.maxConcurrentOperationCount(), 1);
  std::promise<void> done;
  queue.addOperation([&] { done.set_value(); });
  done.get_future().wait();
}

TEST(OperationQueue, AGreaterWidthStartsWhatWaits) {
  OperationQueue queue(1);
  Blocker blocker;
  for (int i = 0; i < 3; ++i) queue.addOperation(blocker.task());
  blocker.waitUntilStarted(1);
  queue.setMaxConcurrentOperationCount(3);
  blocker.waitUntilStarted(3);
  blocker.open();
}

TEST(OperationQueue, ASmallerWidthHoldsForWhatHasNotStarted) {
  OperationQueue queue(3);
  Blocker blocker;
  for (int i = 0; i < 3; ++i) queue.addOperation(blocker.task());
  blocker.waitUntilStarted(3);
  queue.setMaxConcurrentOperationCount(1);
  Gauge gauge;
  std::latch done(50);
  for (int i = 0; i < 50; ++i) {
    queue.addOperation([&] {
      gauge.enter();
      std::this_thread::sleep_for(100us);
      gauge.leave();
      done.count_down();
    });
  }
  blocker.open();
  done.wait();
  EXPECT_EQ(gauge.most(), 1);
}

TEST(OperationQueue, CancellingDiscardsExactlyWhatHasNotStarted) {
  OperationQueue queue(2);
  Blocker blocker;
  std::atomic<int> ran = 0;
  const auto started = std::make_shared<int>();
  const auto waiting = std::make_shared<int>();
  for (int i = 0; i < 2; ++i) {
    queue.addOperation([&, started] {
      blocker.task()();
      ++ran;
    });
  }
  blocker.waitUntilStarted(2);
  for (int i = 0; i < 100; ++i) queue.addOperation([&, waiting] { ++ran; });
  queue.cancelAllOperations();
  EXPECT_EQ(started.use_count(), 3);
  EXPECT_EQ(waiting.use_count(), 1);
  std::promise<void> done;
  queue.addOperation([&] { done.set_value(); });  // a cancelled queue can be used again
  blocker.open();
  done.get_future().wait();
  while (started.use_count() > 1) std::this_thread::yield();
  EXPECT_EQ(ran, 2);
}

TEST(OperationQueue, WhatIsDiscardedMayUseTheQueueInItsDestructor) {
  OperationQueue queue(1);
  Blocker blocker;
  queue.addOperation(blocker.task());
  blocker.waitUntilStarted(1);
  long width = 0;
  std::shared_ptr<void> farewell(nullptr,
                                 [&](void*) { width = queue.maxConcurrentOperationCount(); });
  queue.addOperation([farewell = std::move(farewell)] {});
  queue.cancelAllOperations();
  EXPECT_EQ(width, 1);
  blocker.open();
}

TEST(OperationQueue, WhatHasNotStartedIsDiscardedWithTheQueue) {
  Blocker blocker;
  std::atomic<int> ran = 0;
  const auto waiting = std::make_shared<int>();
  {
    OperationQueue queue(1);
    queue.addOperation(blocker.task());
    blocker.waitUntilStarted(1);
    queue.addOperation([&ran, waiting] { ++ran; });
  }
  EXPECT_EQ(waiting.use_count(), 1);
  blocker.open();
  EXPECT_EQ(ran, 0);
}

TEST(OperationQueue, AnOperationIsDestroyedBeforeTheNextOneStarts) {
  OperationQueue queue(1);
  std::atomic<bool> isDestroyed = false;
  std::shared_ptr<void> farewell(nullptr, [&](void*) {
    std::this_thread::sleep_for(50ms);
    isDestroyed = true;
  });
  std::promise<bool> wasDestroyed;
  queue.addOperation([farewell = std::move(farewell)] {});
  queue.addOperation([&] { wasDestroyed.set_value(isDestroyed); });
  EXPECT_TRUE(wasDestroyed.get_future().get());
}

TEST(OperationQueue, ManyOperationsRunEachOnce) {
  constexpr int kCount = 100'000;
  OperationQueue queue(5);
  std::vector<std::atomic<int>> runs(kCount);
  std::latch done(kCount);
  for (auto& run : runs) {
    queue.addOperation([&] {
      ++run;
      done.count_down();
    });
  }
  done.wait();
  EXPECT_TRUE(std::ranges::all_of(runs, [](const auto& run) { return run == 1; }));
}

}  // namespace
}  // namespace tolvane
