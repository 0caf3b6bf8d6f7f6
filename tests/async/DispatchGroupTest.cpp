// SPDX-License-Identifier: MIT
#include <atomic>
#include <gtest/gtest.h>

#include "async/Dispatch.h"
#include "async/DispatchGroup.h"
#include "async/RunLoop.h"

namespace tolvane {
namespace {

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
