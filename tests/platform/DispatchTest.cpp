// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <latch>
#include <memory>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/DispatchGroup.h"
#include "platform/OperationQueue.h"
#include "platform/RunLoop.h"
#include "platform/SerialQueue.h"

namespace tolvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

// Counts who is inside and remembers the most there ever were.
class Gauge {
 public:
  void enter() {
    const int now = ++inside_;
    int most = most_;
    while (most < now && !most_.compare_exchange_weak(most, now)) {
    }
  }
  void leave() { --inside_; }
  int most() const { return most_; }

 private:
  std::atomic<int> inside_ = 0;
  std::atomic<int> most_ = 0;
};

// Makes operations that wait inside until they are let go.
class Blocker {
 public:
  Task task() const {
    return [state = state_] {
      std::unique_lock lock(state->mutex);
      ++state->started;
      state->changed.notify_all();
      state->changed.wait(lock, [&] { return state->isOpen; });
    };
  }

  void waitUntilStarted(int count) const {
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [&] { return state_->started >= count; });
  }

  void open() const {
    const std::lock_guard lock(state_->mutex);
    state_->isOpen = true;
    state_->changed.notify_all();
  }

 private:
  struct State {
    std::mutex mutex;
    std::condition_variable changed;
    int started = 0;
    bool isOpen = false;
  };
  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

std::vector<int> upTo(int count) {
  std::vector<int> numbers(count);
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

TEST(Dispatch, ATaskRunsOnABackgroundThread) {
  std::promise<std::thread::id> asynchronous;
  std::promise<std::thread::id> flush;
  dispatchAsync([&] { asynchronous.set_value(std::this_thread::get_id()); });
  dispatchFlush([&] { flush.set_value(std::this_thread::get_id()); });
  EXPECT_NE(asynchronous.get_future().get(), std::this_thread::get_id());
  EXPECT_NE(flush.get_future().get(), std::this_thread::get_id());
}

TEST(Dispatch, TasksRunSideBySide) {
  std::latch together(4);
  std::latch done(4);
  for (int i = 0; i < 4; ++i) {
    dispatchAsync([&] {
      together.arrive_and_wait();
      done.count_down();
    });
  }
  done.wait();
}

TEST(Dispatch, FlushesHaveThreadsOfTheirOwn) {
  Blocker flushes;
  for (int i = 0; i < 20; ++i) dispatchFlush(flushes.task());
  flushes.waitUntilStarted(6);
  std::promise<void> ran;
  dispatchAsync([&] { ran.set_value(); });
  ran.get_future().wait();
  flushes.open();
  flushes.waitUntilStarted(20);
}

TEST(Dispatch, ADelayedTaskRunsAfterItsDelay) {
  const auto start = std::chrono::steady_clock::now();
  std::promise<std::chrono::steady_clock::time_point> ran;
  dispatchAfter(50ms, [&] { ran.set_value(std::chrono::steady_clock::now()); });
  EXPECT_GE(ran.get_future().get() - start, 50ms);
}

TEST(Dispatch, DelayedTasksRunInTheOrderOfTheirTimes) {
  SerialQueue queue;
  std::vector<int> order;
  std::latch done(3);
  const auto note = [&](int number) {
    queue.post([&, number] {
      order.push_back(number);
      done.count_down();
    });
  };
  dispatchAfter(300ms, [=] { note(3); });
  dispatchAfter(150ms, [=] { note(2); });
  dispatchAfter(0ms, [=] { note(1); });
  done.wait();
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

// The process that exits begins anew, since a forked one would lack the threads of this one. It
// tells on standard error what it has done.
class DispatchAtExitDeathTest : public testing::Test {
 protected:
  DispatchAtExitDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(DispatchAtExitDeathTest, ATaskThatRunsIsWaitedFor) {
  const auto exitWithATaskRunning = [] {
    static std::latch running(3);
    const auto work = [] {
      running.count_down();
      std::this_thread::sleep_for(200ms);
      std::fputs("finished;", stderr);
    };
    dispatchAsync(work);
    dispatchFlush(work);
    running.arrive_and_wait();
    std::exit(0);
  };
  EXPECT_EXIT(exitWithATaskRunning(), testing::ExitedWithCode(0), "finished;finished;");
}

TEST_F(DispatchAtExitDeathTest, WhatHasNotStartedIsDropped) {
  const auto exitWithMuchToDo = [] {
    OperationQueue operations(2);
    SerialQueue queue;
    const auto slow = [] { std::this_thread::sleep_for(5ms); };
    for (int i = 0; i < 100'000; ++i) {
      dispatchAsync(slow);
      dispatchFlush(slow);
      queue.post(slow);
      operations.addOperation(slow);
    }
    dispatchAfter(24h, slow);
    std::exit(0);
  };
  EXPECT_EXIT(exitWithMuchToDo(), testing::ExitedWithCode(0), "");
}

TEST_F(DispatchAtExitDeathTest, ATaskThatStillRunsMayDispatchMore) {
  const auto exitWithATaskThatDispatches = [] {
    static std::latch running(3);
    for (const auto dispatch : {dispatchAsync, dispatchFlush}) {
      dispatch([] {
        running.count_down();
        std::this_thread::sleep_for(200ms);
        dispatchAsync([] {});
        dispatchFlush([] {});
        dispatchAfter(0ms, [] {});
        std::fputs("dispatched;", stderr);
      });
    }
    running.arrive_and_wait();
    std::exit(0);
  };
  EXPECT_EXIT(exitWithATaskThatDispatches(), testing::ExitedWithCode(0), "dispatched;dispatched;");
}

TEST_F(DispatchAtExitDeathTest, ATaskMayEndTheProcess) {
  const auto exitFromATask = [] {
    dispatchFlush([] {});
    dispatchAsync([] { std::exit(7); });
    std::this_thread::sleep_for(1h);
  };
  EXPECT_EXIT(exitFromATask(), testing::ExitedWithCode(7), "");
}

TEST(SerialQueue, TasksRunInTheOrderOfTheirPosting) {
  const SerialQueue queue;
  std::vector<int> order;
  std::promise<void> done;
  for (int i = 0; i < 10'000; ++i) {
    queue.post([&order, i] { order.push_back(i); });
  }
  queue.post([&] { done.set_value(); });
  done.get_future().wait();
  EXPECT_EQ(order, upTo(10'000));
}

TEST(SerialQueue, NeverTwoTasksRunAtOnce) {
  const SerialQueue queue;
  Gauge gauge;
  std::latch done(400);
  std::vector<std::thread> posters;
  for (int i = 0; i < 4; ++i) {
    posters.emplace_back([&] {
      for (int task = 0; task < 100; ++task) {
        queue.post([&] {
          gauge.enter();
          std::this_thread::yield();
          gauge.leave();
          done.count_down();
        });
      }
    });
  }
  for (auto& poster : posters) poster.join();
  done.wait();
  EXPECT_EQ(gauge.most(), 1);
}

TEST(SerialQueue, ATaskThatPostsIsNotInterrupted) {
  const SerialQueue queue;
  std::vector<int> order;
  std::promise<void> done;
  queue.post([&] {
    queue.post([&] {
      order.push_back(2);
      done.set_value();
    });
    order.push_back(1);
  });
  done.get_future().wait();
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(SerialQueue, QueuesRunSideBySide) {
  const SerialQueue first;
  const SerialQueue second;
  std::latch together(2);
  std::latch done(2);
  for (const auto& queue : {first, second}) {
    queue.post([&] {
      together.arrive_and_wait();
      done.count_down();
    });
  }
  done.wait();
}

TEST(SerialQueue, CopiesAreTheSameQueue) {
  const SerialQueue queue;
  const SerialQueue copy = queue;
  std::vector<int> order;
  std::promise<void> done;
  for (int i = 0; i < 100; ++i) {
    (i % 2 == 0 ? queue : copy).post([&order, i] { order.push_back(i); });
  }
  copy.post([&] { done.set_value(); });
  done.get_future().wait();
  EXPECT_EQ(order, upTo(100));
}

TEST(SerialQueue, WhatWasPostedRunsAfterTheLastCopyIsGone) {
  Blocker blocker;
  std::promise<void> done;
  {
    const SerialQueue queue;
    queue.post(blocker.task());
    queue.post([&] { done.set_value(); });
  }
  blocker.open();
  done.get_future().wait();
}

TEST(OperationQueue, OperationsStartInTheOrderOfTheirAdding) {
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

TEST(OperationQueue, AsManyAsItsWidthRunAtOnce) {
  OperationQueue queue(3);
  std::latch together(3);
  std::latch done(3);
  for (int i = 0; i < 3; ++i) {
    queue.addOperation([&] {
      together.arrive_and_wait();
      done.count_down();
    });
  }
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
  queue.addOperation([&] { done.set_value(); });  // a cancelled queue goes on
  blocker.open();
  done.get_future().wait();
  while (started.use_count() > 1) std::this_thread::yield();
  EXPECT_EQ(ran, 2);
}

TEST(OperationQueue, WhatIsDiscardedMayUseTheQueueAsItGoes) {
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

TEST(OperationQueue, AnOperationIsGoneBeforeTheNextOneStarts) {
  OperationQueue queue(1);
  std::atomic<bool> isGone = false;
  std::shared_ptr<void> farewell(nullptr, [&](void*) {
    std::this_thread::sleep_for(50ms);
    isGone = true;
  });
  std::promise<bool> wasGone;
  queue.addOperation([farewell = std::move(farewell)] {});
  queue.addOperation([&] { wasGone.set_value(isGone); });
  EXPECT_TRUE(wasGone.get_future().get());
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

TEST(RunLoop, ItRunsWhatIsPostedOnTheCallingThreadInOrder) {
  RunLoop loop;
  std::vector<int> order;
  std::thread::id runner;
  std::thread poster([&] {
    for (int i = 0; i < 1000; ++i) {
      loop.post([&order, i] { order.push_back(i); });
    }
    loop.post([&] { runner = std::this_thread::get_id(); });
    loop.quit();
  });
  loop.run();
  poster.join();
  EXPECT_EQ(order, upTo(1000));
  EXPECT_EQ(runner, std::this_thread::get_id());
}

TEST(RunLoop, WhatWasPostedBeforeQuitRunsAndWhatCameAfterWaits) {
  RunLoop loop;
  std::vector<int> order;
  loop.post([&] { order.push_back(1); });
  loop.quit();
  loop.post([&] { order.push_back(2); });
  loop.run();
  EXPECT_THAT(order, ElementsAre(1));
  loop.drain();
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(RunLoop, ItCanBeRunAgain) {
  RunLoop loop;
  int runs = 0;
  for (int i = 0; i < 2; ++i) {
    loop.post([&] {
      ++runs;
      loop.quit();
    });
    loop.run();
  }
  EXPECT_EQ(runs, 2);
}

TEST(RunLoop, DrainingRunsWhatIsThereAndWhatThatPosts) {
  RunLoop loop;
  std::vector<int> order;
  loop.post([&] {
    loop.post([&] { order.push_back(3); });
    order.push_back(1);
  });
  loop.post([&] { order.push_back(2); });
  loop.drain();
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
  loop.drain();
  EXPECT_EQ(order.size(), 3U);
}

TEST(RunLoop, ATaskThatGoesMayPost) {
  RunLoop loop;
  bool ran = false;
  std::shared_ptr<void> farewell(nullptr, [&](void*) { loop.post([&] { ran = true; }); });
  loop.post([farewell = std::move(farewell)] {});
  loop.drain();
  EXPECT_TRUE(ran);
}

TEST(DispatchGroup, ItTellsOnceEverybodyHasLeft) {
  RunLoop loop;
  const DispatchGroup group;
  int told = 0;
  group.enter();
  group.enter();
  group.notify(loop, [&] { ++told; });
  group.leave();
  loop.drain();
  EXPECT_EQ(told, 0);
  group.leave();
  loop.drain();
  EXPECT_EQ(told, 1);
}

TEST(DispatchGroup, ItTellsAtOnceWhereNobodyIsInside) {
  RunLoop loop;
  const DispatchGroup empty;
  const DispatchGroup left;
  int told = 0;
  left.enter();
  left.leave();
  empty.notify(loop, [&] { ++told; });
  left.notify(loop, [&] { ++told; });
  EXPECT_EQ(told, 0);  // by way of the queue, not in the call
  loop.drain();
  EXPECT_EQ(told, 2);
}

TEST(DispatchGroup, ItTellsOnlyOnce) {
  RunLoop loop;
  const DispatchGroup group;
  int told = 0;
  group.notify(loop, [&] { ++told; });
  group.enter();
  group.leave();
  loop.drain();
  EXPECT_EQ(told, 1);
}

TEST(DispatchGroup, CopiesLeaveOnAnyThreadAndMayOutliveIt) {
  RunLoop loop;
  std::atomic<int> done = 0;
  {
    const DispatchGroup group;
    for (int i = 0; i < 1000; ++i) {
      group.enter();
      dispatchAsync([group, &done] {
        ++done;
        group.leave();
      });
    }
    group.notify(loop, [&] {
      EXPECT_EQ(done, 1000);
      loop.quit();
    });
  }
  loop.run();
  EXPECT_EQ(done, 1000);
}

}  // namespace
}  // namespace tolvane
