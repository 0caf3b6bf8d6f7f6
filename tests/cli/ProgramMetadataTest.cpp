// SPDX-License-Identifier: MIT
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Error.h"
#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/SmallDisk.h"

namespace tolvane {
namespace {

using testing::HasSubstr;
using testing::UnorderedElementsAreArray;

// A repository of one package, of whose metadata some cannot be saved.
class ProgramMetadata : public testing::Test {
 protected:
  ProgramMetadata() {
    server_.on("/Packages", respond(200, stanza("a", trueChecks())));
    server_.on("/debs/a.deb", respond(200, kPackageBody));
  }

  void expectFailures(const std::string& folder, const std::vector<std::string>& messages) {
    const CommandResult result =
        runProgram({"download", server_.url("/"), folder, "--metadata", "--quiet"});
    EXPECT_EQ(result.status, kExitFailed);
    EXPECT_THAT(result.output, HasSubstr("Downloaded: 1  Verified: 1  Failed: 0"));
    EXPECT_THAT(consoleMessages(result.errorOutput), UnorderedElementsAreArray(messages));
  }

  LoopbackServer server_;
};

TEST_F(ProgramMetadata, ThatDoesNotFitOnTheDiskIsReported) {
  const SmallDisk disk(64 * 1024);
  if (!disk.isMounted()) GTEST_SKIP() << "a file system cannot be mounted here";
  server_.on("/Release", respond(200, std::string(100'000, 'x')));
  expectFailures(disk.folder().path(),
                 {"Could not save Release: " + posixError(ENOSPC).description});
}

TEST_F(ProgramMetadata, ThatCouldNotBeSavedIsReported) {
  server_.on("/InRelease", cutOff("release", 3));
  server_.on("/Release.gpg", respond(503, ""));
  server_.on("/CydiaIcon.png", respond(200, "icon"));
  const TemporaryFolder folder;
  folder.write("CydiaIcon.png/in the way", "");
  expectFailures(folder.path(),
                 {"Could not save InRelease: The network connection was lost.",
                  "Could not save Release.gpg: HTTP status 503",
                  "Could not save CydiaIcon.png: " + posixError(EISDIR).description});
}

}  // namespace
}  // namespace tolvane
