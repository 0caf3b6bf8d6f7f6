// SPDX-License-Identifier: MIT
// Options that affect every request of a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// A repository of one package.
class ProgramRequests : public testing::Test {
 protected:
  ProgramRequests() {
    server_.on("/Packages", respond(200, stanza("a", trueChecks())));
    server_.on("/debs/a.deb", respond(200, kPackageBody));
  }

  CommandResult run(const std::string& command, const std::vector<std::string>& options) {
    std::vector<std::string> arguments{command, server_.url("/")};
    if (command == "download") arguments.push_back(folder_.path());
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runProgram(arguments);
  }

  LoopbackServer server_;
  TemporaryFolder folder_;
};

TEST_F(ProgramRequests, CarryTheUserAgentAndTheHeadersOfTheCommandLine) {
  const std::vector<std::string> options{"--user-agent", "Mirror/2", "--header",
                                         "Authorization: Bearer abc", "--header=X-Two: 2"};
  EXPECT_EQ(run("list", options).status, kExitDone);
  std::vector<std::string> downloadOptions = options;
  downloadOptions.emplace_back("--metadata");
  EXPECT_EQ(run("download", downloadOptions).status, kExitDone);
  EXPECT_THAT(server_.requests(), SizeIs(1 + 1 + 1 + 23));
  for (const LoopbackRequest& request : server_.requests()) {
    EXPECT_EQ(request.header("User-Agent"), "Mirror/2") << request.target;
    EXPECT_EQ(request.header("Authorization"), "Bearer abc") << request.target;
    EXPECT_EQ(request.header("X-Two"), "2") << request.target;
  }
}

TEST_F(ProgramRequests, CarryNoHeaderOfTheCommandLineToAnotherServer) {
  LoopbackServer other;
  other.on("/a.deb", respond(200, kPackageBody));
  server_.on("/debs/a.deb", redirect(other.url("/a.deb")));
  EXPECT_EQ(run("download", {"--header", "X-Secret: abc"}).status, kExitDone);
  ASSERT_THAT(other.requests(), SizeIs(1));
  EXPECT_THAT(other.requests()[0].head, Not(HasSubstr("abc")));
  EXPECT_THAT(server_.requests().back().head, HasSubstr("X-Secret: abc"));
}

TEST_F(ProgramRequests, AHeaderOfTheCommandLineIsNeverLogged) {
  server_.on("/Packages", respond(403, ""));
  const CommandResult result = run("list", {"--header", "X-Secret: abcdef", "--verbose"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_THAT(result.errorOutput, HasSubstr("[Crawler]"));
  EXPECT_THAT(result.errorOutput, Not(HasSubstr("abcdef")));
  EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(ProgramRequests, EndAfterTheMaximumTime) {
  server_.on("/Packages", drip(stanza("a"), std::chrono::milliseconds(200)));
  const CommandResult result = run("list", {"--type", "apt", "--max-time", "1", "--quiet"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  server_.on("/Packages", respond(200, stanza("a", trueChecks())));
  server_.on("/debs/a.deb", drip(kPackageBody, std::chrono::milliseconds(200)));
  const CommandResult download = run("download", {"--max-time", "1"});
  EXPECT_EQ(download.status, kExitFailed);
  EXPECT_THAT(consoleMessages(download.errorOutput),
              Contains("Download failed: The request timed out."));
}

TEST_F(ProgramRequests, AFileOfUnknownSizeEndsAtTheMaximumSize) {
  server_.on("/Packages", respond(200, stanza("a") + stanza("b")));
  server_.on("/debs/a.deb", respond(200, std::string(1025, 'x')));
  server_.on("/debs/b.deb", respond(200, std::string(1024, 'x')));
  EXPECT_EQ(run("download", {"--max-size", "1K"}).status, kExitFailed);
  EXPECT_THAT(folder_.names(), ElementsAre("b.deb"));
}

}  // namespace
}  // namespace tolvane
