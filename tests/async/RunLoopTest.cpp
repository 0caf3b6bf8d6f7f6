// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "async/RunLoop.h"
#include "tests/async/DispatchHelpers.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

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

TEST(RunLoop, ATaskMayPostInItsDestructor) {
  RunLoop loop;
  bool ran = false;
  std::shared_ptr<void> farewell(nullptr, [&](void*) { loop.post([&] { ran = true; }); });
  loop.post([farewell = std::move(farewell)] {});
  loop.drain();
  EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace tolvane
