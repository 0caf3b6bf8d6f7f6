// SPDX-License-Identifier: MIT
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "base/File.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using namespace std::string_view_literals;

std::string withNul(const std::string& path) {
  return path + std::string(1, '\0') + "x";
}

TEST(File, TheLastPathComponentFollowsTheLastSlash) {
  EXPECT_EQ(lastPathComponent("pool/main/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent(""), "");
  EXPECT_EQ(lastPathComponent("a/.."), "..");
}

TEST(File, TheLastPathComponentIgnoresTrailingSlashes) {
  EXPECT_EQ(lastPathComponent("pool/main/"), "main");
  EXPECT_EQ(lastPathComponent("pool//main///"), "main");
  EXPECT_EQ(lastPathComponent("/"), "");
  EXPECT_EQ(lastPathComponent("///"), "");
}

TEST(File, TheLastPathComponentKeepsQueriesAndPercentSigns) {
  EXPECT_EQ(lastPathComponent("pool/a%20b.deb?x=1"), "a%20b.deb?x=1");
  EXPECT_EQ(lastPathComponent("get?file=pool/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("a/b\0c"sv), "b\0c"sv);
}

TEST(File, JoinedPathsHaveExactlyOneSlashBetween) {
  EXPECT_EQ(joinPath("folder", "name"), "folder/name");
  EXPECT_EQ(joinPath("folder/", "name"), "folder/name");
  EXPECT_EQ(joinPath("/a/folder//", "name"), "/a/folder/name");
  EXPECT_EQ(joinPath("folder/", "/name"), "folder/name");
  EXPECT_EQ(joinPath("/", "name"), "/name");
}

TEST(File, AnEmptyFolderLeavesTheNameAlone) {
  EXPECT_EQ(joinPath("", "name"), "name");
}

TEST(File, FilesAndFoldersExist) {
  const TemporaryFolder folder;
  folder.write("file", "");
  EXPECT_TRUE(fileExists(folder.path("file")));
  EXPECT_TRUE(fileExists(folder.path()));
  EXPECT_FALSE(fileExists(folder.path("other")));
  EXPECT_FALSE(fileExists(folder.path("file/below")));
}

TEST(File, ALinkExistsWhenItsTargetDoes) {
  const TemporaryFolder folder;
  folder.write("file", "bytes");
  std::filesystem::create_symlink("file", folder.path("link"));
  std::filesystem::create_symlink("nothing", folder.path("dangling"));
  EXPECT_TRUE(fileExists(folder.path("link")));
  EXPECT_FALSE(fileExists(folder.path("dangling")));
  EXPECT_EQ(fileSize(folder.path("link")), 5U);
}

TEST(File, ItsSizeIsInBytes) {
  const TemporaryFolder folder;
  folder.write("empty", "");
  folder.write("file", "caf\u00E9");
  EXPECT_EQ(fileSize(folder.path("empty")), 0U);
  EXPECT_EQ(fileSize(folder.path("file")), 5U);
  EXPECT_EQ(fileSize(folder.path("other")), std::nullopt);
}

TEST(File, ASizePast4GiBIsRead) {
  const TemporaryFolder folder;
  const std::uintmax_t size = (std::uintmax_t{1} << 32) + 1;
  folder.write("sparse", "");
  std::filesystem::resize_file(folder.path("sparse"), size);
  EXPECT_EQ(fileSize(folder.path("sparse")), size);
}

TEST(File, AnEmptyPathAndOneWithNulNameNothing) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "bytes");
  for (const std::string& bad : {std::string(), withNul(path), withNul(folder.path())}) {
    EXPECT_FALSE(fileExists(bad));
    EXPECT_EQ(fileSize(bad), std::nullopt);
    EXPECT_EQ(createFolder(bad), posixError(EINVAL));
    EXPECT_EQ(nearestExistingFolder(bad), ".");
  }
}

TEST(File, TheFolderIsThePathWithoutItsLastComponent) {
  EXPECT_EQ(folderOf("a/b/c"), "a/b");
  EXPECT_EQ(folderOf("/a"), "/");
  EXPECT_EQ(folderOf("a"), ".");
}

TEST(File, AFolderIsCreatedWithAllAboveIt) {
  const TemporaryFolder folder;
  EXPECT_EQ(createFolder(folder.path("a/b/c/")), std::nullopt);
  EXPECT_TRUE(std::filesystem::is_directory(folder.path("a/b/c")));
}

TEST(File, AFilesBytesAreAppended) {
  const TemporaryFolder folder;
  std::string large;
  for (int i = 0; large.size() < 1'000'000; ++i) large += std::to_string(i);
  std::string bytes = "before ";
  EXPECT_EQ(appendFile(folder.write("large", large), bytes), std::nullopt);
  EXPECT_TRUE(bytes == "before " + large);
  EXPECT_EQ(appendFile(folder.write("empty", ""), bytes), std::nullopt);
  EXPECT_TRUE(bytes == "before " + large);
}

TEST(File, WhatIsNoRegularFileCannotBeRead) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
  std::string bytes = "before";
  EXPECT_EQ(appendFile(folder.path("none"), bytes), posixError(ENOENT));
  EXPECT_EQ(appendFile(folder.path(), bytes), posixError(EISDIR));
  EXPECT_EQ(appendFile(folder.path("pipe"), bytes), posixError(EINVAL));
  EXPECT_EQ(appendFile("", bytes), posixError(EINVAL));
  EXPECT_EQ(appendFile("/proc/self/mem", bytes), posixError(EIO));
  EXPECT_EQ(bytes, "before");
}

TEST(File, AFileThatIsLongerThanItsSizeIsReadToItsEnd) {
  std::string bytes;
  EXPECT_EQ(appendFile("/proc/self/comm", bytes), std::nullopt);
  EXPECT_NE(bytes, "");
}

TEST(File, AFileThatIsShorterThanItsSizeIsReadToItsEnd) {
  const std::string path = "/sys/devices/system/cpu/online";  // a page long by stat(2)
  if (!fileExists(path)) GTEST_SKIP() << path << " is not there";
  std::string bytes = "before ";
  EXPECT_EQ(appendFile(path, bytes), std::nullopt);
  EXPECT_TRUE(bytes.starts_with("before ")) << bytes;
  EXPECT_GT(bytes.size(), std::string("before ").size());
  EXPECT_LT(bytes.size(), fileSize(path));
}

TEST(File, CreatingAFolderThatIsThereSucceeds) {
  const TemporaryFolder folder;
  std::filesystem::create_directory_symlink(folder.path(), folder.path("link"));
  EXPECT_EQ(createFolder(folder.path()), std::nullopt);
  EXPECT_EQ(createFolder(folder.path("link")), std::nullopt);
  EXPECT_EQ(createFolder("/"), std::nullopt);
}

TEST(File, AFileInTheWayMakesCreatingAFolderFail) {
  const TemporaryFolder folder;
  folder.write("file", "bytes");
  EXPECT_EQ(createFolder(folder.path("file")), posixError(ENOTDIR));
  EXPECT_EQ(createFolder(folder.path("file/below")), posixError(ENOTDIR));
  EXPECT_EQ(folder.read("file"), "bytes");
}

TEST(File, ADanglingLinkInTheWayMakesCreatingAFolderFail) {
  const TemporaryFolder folder;
  std::filesystem::create_symlink("nothing", folder.path("dangling"));
  EXPECT_TRUE(createFolder(folder.path("dangling")));
}

TEST(File, TheNearestExistingFolderIsTheFolderItselfOrTheFirstAboveIt) {
  const TemporaryFolder folder;
  folder.write("file", "");
  EXPECT_EQ(nearestExistingFolder(folder.path()), folder.path());
  EXPECT_EQ(nearestExistingFolder(folder.path("a")), folder.path());
  EXPECT_EQ(nearestExistingFolder(folder.path("a/b/c")), folder.path());
  EXPECT_EQ(nearestExistingFolder(folder.path("file/b")), folder.path());
  EXPECT_EQ(nearestExistingFolder("/does not exist/at all"), "/");
}

TEST(File, ARelativePathOfWhichNothingExistsIsInTheCurrentFolder) {
  EXPECT_EQ(nearestExistingFolder("does not exist/at all"), ".");
  EXPECT_EQ(nearestExistingFolder("does not exist"), ".");
}

}  // namespace
}  // namespace tolvane
