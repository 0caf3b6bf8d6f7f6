// SPDX-License-Identifier: MIT
// Downloads into a folder that accepts no more files.
#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Error.h"
#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/SmallDisk.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int kPackages = 40;
const std::vector<std::string> kAsOtherUser{"setpriv", "--reuid=65534", "--regid=65534",
                                            "--clear-groups"};

// A repository of 40 packages that are too large for a disk of 64 KiB. The second answer and all
// later ones are delayed, so that the program has handled the first failure before.
class ProgramFolder : public testing::Test {
 protected:
  ProgramFolder() {
    std::string index;
    for (int i = 0; i < kPackages; ++i) index += stanza("p" + std::to_string(i));
    server_.on("/Packages", respond(200, index));
    const LoopbackHandler large = respond(200, std::string(100'000, 'x'));
    server_.onAnyOther(inTurn({large, delayed(std::chrono::milliseconds(300), large)}));
  }

  CommandResult download(const std::string& folder,
                         const std::vector<std::string>& startedBy = {}) {
    return runProgram({"download", server_.url("/"), folder, "--connections", "1", "--json"},
                      {.startedBy = startedBy});
  }

  // All packages failed, the first ones with this reason, the others without being tried.
  void expectOneReason(const CommandResult& result, const std::string& reason) {
    EXPECT_EQ(result.status, kExitFailed);
    const auto object = nlohmann::json::parse(result.output);
    EXPECT_EQ(object["failed"], kPackages);
    ASSERT_THAT(object.at("failures"), SizeIs(kPackages));
    EXPECT_EQ(object.at("failures").front()["reason"], reason);
    EXPECT_EQ(object.at("failures").back()["reason"], "not tried: " + reason);
    EXPECT_EQ(object.at("failures").back()["domain"], "NSPOSIXErrorDomain");
    EXPECT_EQ(object.at("failures").back()["code"], object.at("failures").front()["code"]);
    EXPECT_LT(server_.requests().size(), 10U);
    expectFewLines(result, reason);
  }

  static void expectFewLines(const CommandResult& result, const std::string& reason) {
    std::vector<std::string> messages = consoleMessages(result.errorOutput);
    EXPECT_THAT(messages,
                Contains("Packages that have not started are not tried: " + reason).Times(1));
    EXPECT_THAT(messages, Contains("Download failed: not tried: " + reason).Times(0));
    EXPECT_THAT(plainLines(result.errorOutput), SizeIs(21));
  }

  LoopbackServer server_;
};

TEST_F(ProgramFolder, ThatIsFullEndsTheRunAfterTheFirstFailure) {
  const SmallDisk disk(64 * 1024);
  if (!disk.isMounted()) GTEST_SKIP() << "a file system cannot be mounted here";
  expectOneReason(download(disk.folder().path()), posixError(ENOSPC).description);
  EXPECT_THAT(disk.folder().names(), IsEmpty());
}

TEST_F(ProgramFolder, ThatIsReadOnlyEndsTheRunAfterTheFirstFailure) {
  const SmallDisk disk(64 * 1024);
  if (!disk.isMounted()) GTEST_SKIP() << "a file system cannot be mounted here";
  ASSERT_EQ(::mount("none", disk.folder().path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr),
            0);
  expectOneReason(download(disk.folder().path()), posixError(EROFS).description);
}

TEST_F(ProgramFolder, OfAnotherUserEndsTheRunAfterTheFirstFailure) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const TemporaryFolder folder;
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  const std::string touch = "setpriv --reuid=65534 --regid=65534 --clear-groups touch " +
                            folder.path("x") + " 2>/dev/null";
  ASSERT_NE(std::system(touch.c_str()), 0) << "the other user can write to the folder";
  expectOneReason(download(folder.path(), kAsOtherUser), posixError(EACCES).description);
}

TEST_F(ProgramFolder, ThatCannotBeCreatedIsReportedOnceAndNothingIsRequested) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  const TemporaryFolder folder;
  ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
  const CommandResult result = download(folder.path("new"), kAsOtherUser);
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(nlohmann::json::parse(result.output)["failed"], kPackages);
  EXPECT_THAT(server_.targets(), ElementsAre("/Packages"));
  expectFewLines(result, posixError(EACCES).description);
}

}  // namespace
}  // namespace tolvane
