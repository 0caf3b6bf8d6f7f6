// SPDX-License-Identifier: MIT
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "base/FileDescriptor.h"
#include "base/TemporaryFile.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kTemporaryName = "\\.tolvane-[0-9a-f]+";
constexpr const char* kStaleName = ".tolvane-0123456789abcdef";

std::optional<Error> writeText(TemporaryFile& file, const std::string& text) {
  return file.write(text.data(), text.size());
}

TemporaryFile openedFile(const std::string& folder, const std::string& text = "") {
  TemporaryFile file;
  EXPECT_EQ(file.open(folder), std::nullopt);
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(writeText(file, text), std::nullopt);
  return file;
}

mode_t modeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

template <typename Work>
pid_t startProcess(Work work) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(work());
  return child;
}

// The status of waitpid(2).
int statusOf(pid_t child) {
  int status = -1;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return status;
}

template <typename Work>
int statusOfProcess(Work work) {
  return statusOf(startProcess(work));
}

// Unnamed files and those with temporary names behave alike.
class TemporaryFileTest : public testing::TestWithParam<bool> {
 protected:
  TemporaryFileTest() { TemporaryFile::allowUnnamedFiles(isUnnamed()); }
  ~TemporaryFileTest() override { TemporaryFile::allowUnnamedFiles(true); }

  bool isUnnamed() const { return GetParam(); }

  const TemporaryFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(, TemporaryFileTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Unnamed" : "Named"; });

TEST_P(TemporaryFileTest, ItHasNoVisibleNameUntilItIsMoved) {
  TemporaryFile file = openedFile(folder_.path(), "bytes");
  if (isUnnamed()) {
    EXPECT_THAT(folder_.names(), IsEmpty());
  } else {
    EXPECT_THAT(folder_.names(), ElementsAre(MatchesRegex(kTemporaryName)));
  }
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
  EXPECT_EQ(folder_.read("name"), "bytes");
  EXPECT_FALSE(file.isOpen());
}

TEST_P(TemporaryFileTest, AFileThatIsNotMovedIsRemoved) {
  { const TemporaryFile file = openedFile(folder_.path(), "bytes"); }
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_P(TemporaryFileTest, WritesFollowOneAnother) {
  TemporaryFile file = openedFile(folder_.path(), "one ");
  const std::string large((1 << 20) + 1, 'x');
  EXPECT_EQ(writeText(file, large), std::nullopt);
  EXPECT_EQ(writeText(file, ""), std::nullopt);
  EXPECT_EQ(writeText(file, std::string("\0end", 4)), std::nullopt);
  EXPECT_EQ(file.flush(), std::nullopt);
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_EQ(folder_.read("name"), "one " + large + std::string("\0end", 4));
}

TEST_P(TemporaryFileTest, OpeningAgainBeginsANewFile) {
  TemporaryFile file = openedFile(folder_.path(), "old");
  EXPECT_EQ(file.open(folder_.path()), std::nullopt);
  EXPECT_EQ(writeText(file, "new"), std::nullopt);
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
  EXPECT_EQ(folder_.read("name"), "new");
}

TEST_P(TemporaryFileTest, ItIsMadeInTheNearestExistingFolder) {
  TemporaryFile file = openedFile(folder_.path("a/b"), "bytes");
  EXPECT_FALSE(std::filesystem::exists(folder_.path("a")));
  std::filesystem::create_directories(folder_.path("a/b"));
  EXPECT_EQ(file.moveTo(folder_.path("a/b/name")), std::nullopt);
  EXPECT_EQ(folder_.read("a/b/name"), "bytes");
  EXPECT_THAT(folder_.names(), ElementsAre("a"));
}

TEST_P(TemporaryFileTest, ItTakesThePlaceOfAFile) {
  folder_.write("name", "old");
  TemporaryFile file = openedFile(folder_.path(), "new");
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_EQ(folder_.read("name"), "new");
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
}

TEST_P(TemporaryFileTest, ItTakesThePlaceOfALinkAndNotOfItsTarget) {
  folder_.write("target", "old");
  std::filesystem::create_directory(folder_.path("folder"));
  std::filesystem::create_symlink("target", folder_.path("link"));
  std::filesystem::create_symlink("missing", folder_.path("dangling"));
  std::filesystem::create_directory_symlink("folder", folder_.path("folder link"));
  for (const auto* name : {"link", "dangling", "folder link"}) {
    TemporaryFile file = openedFile(folder_.path(), "new");
    EXPECT_EQ(file.moveTo(folder_.path(name)), std::nullopt);
    EXPECT_FALSE(std::filesystem::is_symlink(folder_.path(name)));
    EXPECT_EQ(folder_.read(name), "new");
  }
  EXPECT_EQ(folder_.read("target"), "old");
  EXPECT_TRUE(std::filesystem::is_directory(folder_.path("folder")));
}

TEST_P(TemporaryFileTest, AFolderInTheWayStaysAndTheFileToo) {
  std::filesystem::create_directory(folder_.path("in the way"));
  TemporaryFile file = openedFile(folder_.path(), "bytes");
  EXPECT_EQ(file.moveTo(folder_.path("in the way")), posixError(EISDIR));
  EXPECT_TRUE(std::filesystem::is_directory(folder_.path("in the way")));
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_EQ(folder_.read("name"), "bytes");
}

TEST_P(TemporaryFileTest, AMoveIntoAMissingFolderFailsAndCanBeTriedAgain) {
  TemporaryFile file = openedFile(folder_.path(), "bytes");
  EXPECT_EQ(file.moveTo(folder_.path("missing/name")), posixError(ENOENT));
  std::filesystem::create_directory(folder_.path("missing"));
  EXPECT_EQ(file.moveTo(folder_.path("missing/name")), std::nullopt);
  EXPECT_EQ(folder_.read("missing/name"), "bytes");
}

TEST_P(TemporaryFileTest, AMoveBelowAFileFails) {
  folder_.write("file", "old");
  TemporaryFile file = openedFile(folder_.path("file"), "bytes");
  EXPECT_EQ(file.moveTo(folder_.path("file/name")), posixError(ENOTDIR));
  EXPECT_EQ(folder_.read("file"), "old");
}

TEST_P(TemporaryFileTest, AnEmptyPathAndOneWithNulAreRefused) {
  TemporaryFile file;
  EXPECT_EQ(file.open(""), posixError(EINVAL));
  EXPECT_EQ(file.open(folder_.path() + std::string("\0/x", 3)), posixError(EINVAL));
  EXPECT_FALSE(file.isOpen());
  file = openedFile(folder_.path(), "bytes");
  EXPECT_EQ(file.moveTo(""), posixError(EINVAL));
  EXPECT_EQ(file.moveTo(folder_.path("name") + std::string("\0x", 2)), posixError(EINVAL));
  EXPECT_FALSE(std::filesystem::exists(folder_.path("name")));
}

TEST_P(TemporaryFileTest, ANameThatALaterProcessWouldRemoveIsRefused) {
  TemporaryFile file = openedFile(folder_.path(), "text");
  EXPECT_EQ(file.moveTo(folder_.path(kStaleName)), posixError(EINVAL));
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.moveTo(folder_.path(std::string(kStaleName) + ".deb")), std::nullopt);
}

TEST_P(TemporaryFileTest, AFolderThatCannotBeWrittenIsAnError) {
  TemporaryFile file;
  EXPECT_TRUE(file.open("/proc/self"));
  EXPECT_FALSE(file.isOpen());
}

TEST_P(TemporaryFileTest, TheMaskDecidesWhoMayReadAndWrite) {
  folder_.write("replaced", "old");
  for (const mode_t mask : {022, 077, 002}) {
    const mode_t previous = ::umask(mask);
    for (const auto* name : {"new", "replaced"}) {
      TemporaryFile file = openedFile(folder_.path());
      EXPECT_EQ(file.moveTo(folder_.path(name)), std::nullopt);
      EXPECT_EQ(modeOf(folder_.path(name)), 0666 & ~mask);
    }
    ::umask(previous);
    std::filesystem::remove(folder_.path("new"));
  }
}

TEST_P(TemporaryFileTest, AMovedFromObjectHasNoFile) {
  TemporaryFile first = openedFile(folder_.path(), "first");
  TemporaryFile second = std::move(first);
  EXPECT_FALSE(first.isOpen());
  TemporaryFile third = openedFile(folder_.path(), "third");
  third = std::move(second);
  EXPECT_EQ(third.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_EQ(folder_.read("name"), "first");
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
}

TEST_P(TemporaryFileTest, RemoveAllLeavesNoTemporaryNameAndKeepsMovedFiles) {
  TemporaryFile moved = openedFile(folder_.path(), "bytes");
  EXPECT_EQ(moved.moveTo(folder_.path("name")), std::nullopt);
  TemporaryFile first = openedFile(folder_.path(), "bytes");
  TemporaryFile second = openedFile(folder_.path(), "bytes");
  TemporaryFile::removeAll().unlock();
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
  if (!isUnnamed()) {
    EXPECT_EQ(first.moveTo(folder_.path("other")), posixError(ENOENT));
  }
}

TEST_P(TemporaryFileTest, TheFirstOpenInAFolderRemovesWhatAKilledProcessLeft) {
  folder_.write(kStaleName, "left behind");
  TemporaryFile file = openedFile(folder_.path(), "bytes");
  EXPECT_FALSE(std::filesystem::exists(folder_.path(kStaleName)));
  EXPECT_EQ(file.moveTo(folder_.path("name")), std::nullopt);
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
}

TEST_P(TemporaryFileTest, AStaleFileOfAnotherUserIsRemovedToo) {
  if (::geteuid() != 0) GTEST_SKIP() << "takes another user";
  folder_.write(kStaleName, "left behind");
  std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
  ASSERT_EQ(::seteuid(65534), 0);
  TemporaryFile::removeStale(folder_.path());
  ASSERT_EQ(::seteuid(0), 0);
  EXPECT_THAT(folder_.names(), ElementsAre());
}

TEST_P(TemporaryFileTest, AFileThatALiveProcessHoldsIsNotStale) {
  folder_.write(kStaleName, "in use");
  const FileDescriptor holder(folder_.path(kStaleName).c_str(), O_RDONLY);
  ASSERT_EQ(::flock(holder.get(), LOCK_EX | LOCK_NB), 0);
  const TemporaryFile file = openedFile(folder_.path());
  EXPECT_EQ(folder_.read(kStaleName), "in use");
}

TEST_P(TemporaryFileTest, OnlyItsOwnKindOfNameIsStale) {
  const std::vector<std::string> others = {
      ".tolvane-",         ".tolvane-0123456789abcde",  ".tolvane-0123456789abcdef0",
      "tolvane-01234567",  ".tolvane-0123456789ABCDEF", ".tolvane-0123456789abcdeg",
      "0123456789abcdefx", ".other-0123456789abcdef12",
  };
  for (const auto& name : others) folder_.write(name, "");
  const std::string below = std::string(kStaleName) + "/" + kStaleName;  // in a folder of this name
  folder_.write(below, "");
  const TemporaryFile file = openedFile(folder_.path());
  for (const auto& name : others) EXPECT_TRUE(std::filesystem::exists(folder_.path(name))) << name;
  EXPECT_TRUE(std::filesystem::exists(folder_.path(below)));
}

TEST_P(TemporaryFileTest, ALinkOfAStaleNameIsNotFollowed) {
  folder_.write("precious", "bytes");
  std::filesystem::create_symlink("precious", folder_.path(kStaleName));
  const TemporaryFile file = openedFile(folder_.path());
  EXPECT_EQ(folder_.read("precious"), "bytes");
}

TEST_P(TemporaryFileTest, AKilledProcessLeavesNothingThatALaterOneDoesNotRemove) {
  const int status = statusOfProcess([this] {
    const TemporaryFile file = openedFile(folder_.path(), "half a fi");
    return ::raise(SIGKILL);
  });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(folder_.names().size(), isUnnamed() ? 0U : 1U);
  { const TemporaryFile file = openedFile(folder_.path()); }
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_P(TemporaryFileTest, AFileThatMayNotBeReplacedStaysAndTheFileToo) {
  if (::geteuid() != 0) GTEST_SKIP() << "Only the superuser can become another user.";
  // In a folder with the sticky bit every user may add a name, but only its owner may replace one.
  folder_.write("name", "old");
  ASSERT_EQ(::chmod(folder_.path().c_str(), 01777), 0);
  const int status = statusOfProcess([this] {
    constexpr uid_t kNobody = 65534;
    if (::setresuid(kNobody, kNobody, kNobody) != 0) return 1;
    TemporaryFile file = openedFile(folder_.path(), "new");
    if (file.moveTo(folder_.path("name")) != posixError(EPERM)) return 2;
    return file.moveTo(folder_.path("other")) ? 3 : 0;
  });
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(folder_.read("name"), "old");
  EXPECT_EQ(folder_.read("other"), "new");
  EXPECT_THAT(folder_.names(), ElementsAre("name", "other"));
}

TEST_P(TemporaryFileTest, ProcessesInParallelTakeNoFileFromOneAnother) {
  const auto writeManyFiles = [this] {
    std::string folder = folder_.path();
    for (int round = 0; round < 200; ++round) {
      folder += "/.";  // another name, so that it is looked through again
      TemporaryFile file;
      if (file.open(folder) || writeText(file, "bytes")) return 1;
      if (file.moveTo(folder_.path("name"))) return 2;
    }
    return 0;
  };
  std::vector<pid_t> children;
  for (int i = 0; i < 4; ++i) children.push_back(startProcess(writeManyFiles));
  for (const pid_t child : children) EXPECT_EQ(statusOf(child), 0);
  EXPECT_EQ(folder_.read("name"), "bytes");
  EXPECT_THAT(folder_.names(), ElementsAre("name"));
}

TEST(TemporaryFileOnAFullDisk, AWriteFailsWithTheErrorOfTheSystem) {
  const TemporaryFolder folder;
  TemporaryFile file = openedFile(folder.path());
  struct rlimit previous {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &previous), 0);
  const struct rlimit small { 4096, previous.rlim_max };
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const auto error = writeText(file, std::string(10'000, 'x'));
  ::setrlimit(RLIMIT_FSIZE, &previous);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, posixError(EFBIG));
}

}  // namespace
}  // namespace tolvane
