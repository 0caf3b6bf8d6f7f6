// SPDX-License-Identifier: MIT
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <thread>

#include "async/Dispatch.h"
#include "async/OperationQueue.h"
#include "async/SerialQueue.h"
#include "tests/async/DispatchHelpers.h"

namespace tolvane {
namespace {

using namespace std::chrono_literals;

TEST(Dispatch, ATaskRunsOnABackgroundThread) {
  std::promise<std::thread::id> asynchronous;
  std::promise<std::thread::id> flush;
  dispatchAsync([&] { asynchronous.set_value(std::this_thread::get_id()); });
  dispatchFlush([&] { flush.set_value(std::this_thread::get_id()); });
  EXPECT_NE(asynchronous.get_future().get(), std::this_thread::get_id());
  EXPECT_NE(flush.get_future().get(), std::this_thread::get_id());
}

TEST(Dispatch, TasksRunInParallel) {
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
  std::map<std::chrono::milliseconds, std::promise<std::chrono::steady_clock::time_point>> runs;
  for (const auto delay : {50ms, 25ms, 0ms}) {
    dispatchAfter(delay, [&run = runs[delay]] { run.set_value(std::chrono::steady_clock::now()); });
  }
  for (auto& [delay, run] : runs) EXPECT_GE(run.get_future().get() - start, delay);
}

TEST(Dispatch, ADelayedTaskDoesNotWaitForOneWithALongerDelay) {
  dispatchAfter(24h, [] { FAIL(); });
  std::promise<void> ran;
  dispatchAfter(0ms, [&] { ran.set_value(); });
  ran.get_future().wait();
}

// The process that exits is started anew, because a forked one would lack the threads of this one.
// It writes to standard error what it has done.
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

}  // namespace
}  // namespace tolvane
