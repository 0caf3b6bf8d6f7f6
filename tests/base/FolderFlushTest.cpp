// SPDX-License-Identifier: MIT
#include <filesystem>
#include <gtest/gtest.h>

#include "base/File.h"
#include "base/FolderFlush.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

TEST(FolderFlush, AFolderThatWasRemovedIsNoError) {
  const TemporaryFolder folder;
  flushFolderSoon(folder.path("gone"));
  EXPECT_EQ(flushFolders(), std::nullopt);
}

// Not every file system can flush folders.
TEST(FolderFlush, AFolderThatCannotBeFlushedIsNoError) {
  flushFolderSoon("/proc/self");
  EXPECT_EQ(flushFolders(), std::nullopt);
}

TEST(FolderFlush, EveryNewFolderAndTheExistingOneAboveThemAreFlushed) {
  const TemporaryFolder folder;
  ASSERT_EQ(createFolder(folder.path("a/b/c")), std::nullopt);
  EXPECT_EQ(flushFolders(), std::nullopt);
  std::filesystem::current_path(folder.path());
  ASSERT_EQ(createFolder("d/e/"), std::nullopt);
  ASSERT_EQ(createFolder("f"), std::nullopt);
  EXPECT_EQ(flushFolders(), std::nullopt);
  std::filesystem::current_path("/");
}

}  // namespace
}  // namespace tolvane
