// SPDX-License-Identifier: MIT
#include <QTest>
#include <QTimer>
#include <atomic>
#include <gtest/gtest.h>
#include <numeric>
#include <thread>

#include "ui/QtMainQueue.h"

namespace tolvane {
namespace {

class PostedCalls : public QObject {
 public:
  bool eventFilter(QObject*, QEvent* event) override {
    count += event->type() == QEvent::MetaCall;
    return false;
  }

  int count = 0;
};

TEST(QtMainQueue, RunsTasksInOrderOnTheMainThread) {
  QtMainQueue queue;
  std::vector<int> ran;
  std::thread([&] {
    for (int i = 0; i < 1000; ++i) {
      queue.post([&ran, i] { ran.push_back(i); });
    }
  }).join();
  EXPECT_TRUE(ran.empty());
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran.size() == 1000; }));
  EXPECT_TRUE(std::is_sorted(ran.begin(), ran.end()));
}

TEST(QtMainQueue, RunsWhatSeveralThreadsPostInTheOrderOfEachOnTheMainThread) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 2500;
  QtMainQueue queue;
  const auto main = std::this_thread::get_id();
  std::vector<std::vector<int>> ran(kThreads);
  int elsewhere = 0;
  std::atomic<int> ready = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (++ready; ready < kThreads;) std::this_thread::yield();
      for (int i = 0; i < kTasks; ++i) {
        queue.post([&, thread, i] {
          ran[thread].push_back(i);
          elsewhere += std::this_thread::get_id() != main;
        });
      }
    });
  }
  // The queue runs while they post.
  const auto count = [&] {
    std::size_t tasks = 0;
    for (const auto& ofThread : ran) tasks += ofThread.size();
    return tasks;
  };
  EXPECT_TRUE(QTest::qWaitFor([&] { return count() == kThreads * kTasks; }, 20'000));
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(elsewhere, 0);
  std::vector<int> inOrder(kTasks);
  std::iota(inOrder.begin(), inOrder.end(), 0);
  for (const auto& ofThread : ran) EXPECT_EQ(ofThread, inOrder);
}

TEST(QtMainQueue, RunsWhatATaskPostsAfterWhatWaited) {
  QtMainQueue queue;
  std::string ran;
  queue.post([&] {
    ran += 'a';
    queue.post([&] { ran += 'c'; });
  });
  queue.post([&] { ran += 'b'; });
  EXPECT_TRUE(QTest::qWaitFor([&] { return ran.size() == 3; }));
  EXPECT_EQ(ran, "abc");
}

TEST(QtMainQueue, HandlesEventsBetweenTasksThatKeepComing) {
  QtMainQueue queue;
  int beats = 0;
  QTimer heart;
  QObject::connect(&heart, &QTimer::timeout, [&] { ++beats; });
  heart.start(1);
  int left = 200;
  const std::function<void()> task = [&] {
    QTest::qSleep(1);
    if (--left > 0) queue.post(task);
  };
  queue.post(task);
  EXPECT_TRUE(QTest::qWaitFor([&] { return left == 0; }, 20'000));
  EXPECT_GE(beats, 10);
}

TEST(QtMainQueue, WakesAgainHoweverLongNothingCame) {
  QtMainQueue queue;
  for (int pause = 0; pause < 200; ++pause) {
    bool ran = false;
    std::thread([&] { queue.post([&] { ran = true; }); }).join();
    EXPECT_TRUE(QTest::qWaitFor([&] { return ran; }, 1000)) << "after a pause of " << pause;
    QElapsedTimer timer;
    timer.start();
    while (timer.nsecsElapsed() < pause * 25'000) QCoreApplication::processEvents();
  }
}

TEST(QtMainQueue, IsNotWokenForEachOfTheTasksThatComeOneByOne) {
  constexpr int kTasks = 100;
  QtMainQueue queue;
  PostedCalls wakings;
  queue.installEventFilter(&wakings);
  for (int i = 0; i < kTasks; ++i) {
    bool ran = false;
    queue.post([&] { ran = true; });
    while (!ran) QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  EXPECT_GT(wakings.count, 0);
  EXPECT_LT(wakings.count, kTasks / 2);
}

TEST(QtMainQueue, DropsWaitingTasksWhenItIsDestroyed) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> watched = held;
  {
    QtMainQueue queue;
    queue.post([held = std::move(held)] { FAIL() << "the queue is gone"; });
  }
  EXPECT_TRUE(watched.expired());
  QCoreApplication::processEvents();
}

}  // namespace
}  // namespace tolvane
