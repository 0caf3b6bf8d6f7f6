// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "download/DownloadCounters.h"

namespace tolvane {
namespace {

TEST(DownloadCounters, TheStatusLinesHaveEachCounterInItsPosition) {
  const DownloadCounters counters{1, 2, 3, 4, 5};
  EXPECT_EQ(progressText(counters, 10),
            "9 / 10   Verified: 2   Failed: 3   Validation failed: 4   Skipped: 5");
  EXPECT_EQ(summaryText(counters),
            "Downloaded: 1  Verified: 2  Failed: 3  Validation failed: 4  Skipped: 5");
}

TEST(DownloadCounters, APackageHasEndedOnceItIsDownloadedFailedOrSkipped) {
  EXPECT_EQ((DownloadCounters{1, 20, 300, 4000, 50000}).completed(), 50301u);
}

TEST(DownloadCounters, SkippedFilesAreNoErrors) {
  EXPECT_FALSE((DownloadCounters{1, 1, 0, 0, 1}).hasErrors());
  EXPECT_TRUE((DownloadCounters{1, 1, 1, 0, 0}).hasErrors());
  EXPECT_TRUE((DownloadCounters{1, 1, 0, 1, 0}).hasErrors());
}

}  // namespace
}  // namespace tolvane
