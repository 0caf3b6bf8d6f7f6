// SPDX-License-Identifier: MIT
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <latch>
#include <thread>
#include <vector>

#include "async/SerialQueue.h"
#include "tests/async/DispatchHelpers.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

TEST(SerialQueue, TasksRunInTheOrderInWhichTheyWerePosted) {
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

TEST(SerialQueue, QueuesRunInParallel) {
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

TEST(SerialQueue, WhatWasPostedRunsAfterTheLastCopyIsDestroyed) {
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

}  // namespace
}  // namespace tolvane
