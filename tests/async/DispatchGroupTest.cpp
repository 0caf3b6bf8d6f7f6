// SPDX-License-Identifier: MIT
#include <atomic>
#include <gtest/gtest.h>

#include "async/Dispatch.h"
#include "async/DispatchGroup.h"
#include "async/RunLoop.h"

namespace tolvane {
namespace {

TEST(DispatchGroup, TheTaskIsPostedAfterTheLastLeave) {
  RunLoop loop;
  const DispatchGroup group;
  int runs = 0;
  group.enter();
  group.enter();
  group.notify(loop, [&] { ++runs; });
  group.leave();
  loop.drain();
  EXPECT_EQ(runs, 0);
  group.leave();
  loop.drain();
  EXPECT_EQ(runs, 1);
}

TEST(DispatchGroup, WithNothingPendingTheTaskIsPostedAtOnce) {
  RunLoop loop;
  const DispatchGroup empty;
  const DispatchGroup left;
  int runs = 0;
  left.enter();
  left.leave();
  empty.notify(loop, [&] { ++runs; });
  left.notify(loop, [&] { ++runs; });
  EXPECT_EQ(runs, 0);  // by the queue, not inside the call
  loop.drain();
  EXPECT_EQ(runs, 2);
}

TEST(DispatchGroup, TheTaskIsPostedOnlyOnce) {
  RunLoop loop;
  const DispatchGroup group;
  int runs = 0;
  group.notify(loop, [&] { ++runs; });
  group.enter();
  group.leave();
  loop.drain();
  EXPECT_EQ(runs, 1);
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
