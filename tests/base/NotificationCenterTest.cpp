// SPDX-License-Identifier: MIT
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "base/NotificationCenter.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

TEST(NotificationCenter, APostReachesEveryObserverOfItsNameInTheOrderInWhichTheyWereAdded) {
  NotificationCenter center;
  std::vector<std::string> calls;
  const auto first = center.addObserver("A", [&](const auto&) { calls.push_back("first"); });
  const auto other = center.addObserver("B", [&](const auto&) { calls.push_back("other"); });
  const auto second = center.addObserver("A", [&](const auto&) { calls.push_back("second"); });
  center.post("A", {});
  EXPECT_THAT(calls, ElementsAre("first", "second"));
}

TEST(NotificationCenter, AnObserverGetsTheUserInfo) {
  NotificationCenter center;
  UserInfo received;
  const auto token = center.addObserver("A", [&](const UserInfo& info) { received = info; });
  center.post("A", {{"key", "value"}});
  EXPECT_EQ(received, (UserInfo{{"key", "value"}}));
}

TEST(NotificationCenter, APostIsDeliveredOnThePostingThreadBeforeItReturns) {
  NotificationCenter center;
  std::thread::id receiver;
  const auto token =
      center.addObserver("A", [&](const auto&) { receiver = std::this_thread::get_id(); });
  std::thread::id poster;
  std::thread([&] {
    poster = std::this_thread::get_id();
    center.post("A", {});
    EXPECT_EQ(receiver, poster);
  }).join();
  EXPECT_EQ(receiver, poster);
}

TEST(NotificationCenter, ObservingEndsWithTheLastCopyOfTheToken) {
  NotificationCenter center;
  int calls = 0;
  auto token = center.addObserver("A", [&](const auto&) { ++calls; });
  auto copy = token;
  token.reset();
  center.post("A", {});
  EXPECT_EQ(calls, 1);
  copy.reset();
  center.post("A", {});
  EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, AnObserverIsDestroyedWithItsToken) {
  NotificationCenter center;
  const auto captured = std::make_shared<int>();
  auto token = center.addObserver("A", [captured](const auto&) {});
  EXPECT_EQ(captured.use_count(), 2);
  token.reset();
  EXPECT_EQ(captured.use_count(), 1);
}

TEST(NotificationCenter, APostWithoutObserversDoesNothing) {
  NotificationCenter center;
  EXPECT_NO_FATAL_FAILURE(center.post("A", {}));
}

TEST(NotificationCenter, AnObserverMayPostAndObserve) {
  NotificationCenter center;
  std::vector<std::string> calls;
  NotificationCenter::Token inner;
  const auto outer = center.addObserver("A", [&](const auto&) {
    calls.push_back("A");
    inner = center.addObserver("B", [&](const auto&) { calls.push_back("B"); });
    center.post("B", {});
  });
  center.post("A", {});
  EXPECT_THAT(calls, ElementsAre("A", "B"));
}

TEST(NotificationCenter, AnObserverMayEndItsOwnObservingAndThatOfALaterOne) {
  NotificationCenter center;
  std::vector<std::string> calls;
  NotificationCenter::Token first;
  NotificationCenter::Token second;
  first = center.addObserver("A", [&](const auto&) {
    calls.push_back("first");
    second.reset();
    first.reset();
    center.post("A", {});
  });
  second = center.addObserver("A", [&](const auto&) { calls.push_back("second"); });
  center.post("A", {});
  center.post("A", {});
  EXPECT_THAT(calls, ElementsAre("first"));
}

TEST(NotificationCenter, ATokenMayOutliveItsCenter) {
  NotificationCenter::Token token;
  {
    NotificationCenter center;
    token = center.addObserver("A", [](const auto&) {});
  }
  token.reset();
}

TEST(NotificationCenter, ThreadsPostAndObserveInParallel) {
  NotificationCenter center;
  std::atomic<int> calls = 0;
  const auto steady = center.addObserver("A", [&](const auto&) { ++calls; });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 200; ++round) {
        const auto brief = center.addObserver("A", [](const auto&) {});
        center.post("A", {});
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(calls, 800);
}

TEST(NotificationCenter, TheDefaultCenterIsOne) {
  int calls = 0;
  const auto token =
      NotificationCenter::defaultCenter().addObserver("A", [&](const auto&) { ++calls; });
  NotificationCenter::defaultCenter().post("A", {});
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace tolvane
