// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "cli/ProgressBar.h"

namespace tolvane {
namespace {

TEST(ProgressBar, ShowsTheCompletedShare) {
  EXPECT_EQ(progressBar(0, 8), "[                    ]   0%");
  EXPECT_EQ(progressBar(2, 8), "[#####               ]  25%");
  EXPECT_EQ(progressBar(8, 8), "[####################] 100%");
}

TEST(ProgressBar, IsNotFullBeforeTheEnd) {
  EXPECT_EQ(progressBar(99999, 100000), "[################### ]  99%");
}

TEST(ProgressBar, IsEmptyForZeroOfZero) {
  EXPECT_EQ(progressBar(0, 0), "[                    ]   0%");
}

TEST(ProgressBar, IsFullForMoreThanAll) {
  EXPECT_EQ(progressBar(9, 8), "[####################] 100%");
}

}  // namespace
}  // namespace tolvane
