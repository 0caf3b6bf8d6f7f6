// SPDX-License-Identifier: MIT
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>

#include "cli/DestinationGate.h"
#include "tests/support/SmallDisk.h"

namespace tolvane {
namespace {

std::optional<std::string> closeFor(DestinationGate& gate, const std::optional<Error>& error,
                                    const std::string& localPath = "") {
  return gate.closeFor({PackageEntry(), {std::nullopt, std::nullopt, localPath}, false, error});
}

// On a disk that is smaller than the trial file.
class DestinationGateTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!disk_.isMounted()) GTEST_SKIP() << "a file system cannot be mounted here";
  }

  void expectClosed(DestinationGate& gate, const Error& error, const Error& reason) {
    EXPECT_EQ(closeFor(gate, error), reason.description);
    EXPECT_EQ(gate.refusal(),
              (Error{reason.domain, reason.code, "not tried: " + reason.description}));
  }

  const SmallDisk disk_{64 * 1024};
};

TEST_F(DestinationGateTest, IsClosedOnceByAFullFolder) {
  DestinationGate gate(disk_.folder().path());
  EXPECT_EQ(gate.refusal(), std::nullopt);
  expectClosed(gate, posixError(ENOSPC), posixError(ENOSPC));
  EXPECT_EQ(closeFor(gate, posixError(ENOSPC)), std::nullopt);
  EXPECT_EQ(closeFor(gate, gate.refusal()), std::nullopt);
  EXPECT_THAT(disk_.folder().names(), testing::IsEmpty()) << "the trial file";
}

TEST_F(DestinationGateTest, IsClosedByAReadOnlyFolderAndByOneThatCannotBeCreatedInIt) {
  ASSERT_EQ(::mount("tmpfs", disk_.folder().path().c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, ""),
            0);
  for (const char* name : {"", "new/below"}) {
    DestinationGate gate(disk_.folder().path(name));
    expectClosed(gate, posixError(EACCES), posixError(EROFS));
  }
}

TEST_F(DestinationGateTest, StaysOpenForErrorsOfOneFile) {
  DestinationGate gate(disk_.folder().path());
  for (const int code : {EISDIR, ENAMETOOLONG, EFBIG, EIO, EMFILE}) {
    EXPECT_EQ(closeFor(gate, posixError(code)), std::nullopt);
  }
  EXPECT_EQ(closeFor(gate, Error{std::string(kURLErrorDomain), ENOSPC, "x"}), std::nullopt);
  EXPECT_EQ(closeFor(gate, std::nullopt), std::nullopt);
  EXPECT_EQ(closeFor(gate, posixError(ENOSPC), "a file that was saved"), std::nullopt);
  EXPECT_EQ(gate.refusal(), std::nullopt);
}

TEST(DestinationGate, IsClosedByAFolderThatWasRemoved) {
  const TemporaryFolder folder;
  folder.write("file", "");
  for (const auto& [name, code] : {std::pair("removed", ENOENT), std::pair("file", ENOTDIR)}) {
    const LastRequest request{URL::parse("http://h/x.deb"), std::nullopt, ""};
    DestinationGate gate(folder.path(name));
    EXPECT_EQ(gate.closeFor({PackageEntry(), request, false, posixError(code)}),
              posixError(code).description);
    DestinationGate other(folder.path());
    EXPECT_EQ(other.closeFor({PackageEntry(), request, false, posixError(code)}), std::nullopt);
  }
}

// As for a file that is larger than the free space, or a name that a link of another user has.
TEST(DestinationGate, StaysOpenWhileTheFolderAcceptsOtherFiles) {
  const TemporaryFolder folder;
  DestinationGate gate(folder.path());
  for (const int code : {ENOSPC, EDQUOT, EROFS, EACCES, EPERM}) {
    EXPECT_EQ(closeFor(gate, posixError(code)), std::nullopt);
  }
  EXPECT_EQ(gate.refusal(), std::nullopt);
  EXPECT_THAT(folder.names(), testing::IsEmpty());
}

}  // namespace
}  // namespace tolvane
