// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kEscape = "\033";

// A repository of one package.
class ProgramStreams : public testing::Test {
 protected:
  ProgramStreams() {
    server_.on("/Packages", respond(200, stanza("a", trueChecks())));
    server_.on("/debs/a.deb", respond(200, kPackageBody));
  }

  CommandResult list(const std::vector<std::string>& options,
                     const ProgramSettings& settings = {}) {
    std::vector<std::string> arguments{"list", server_.url("/")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runProgram(arguments, settings);
  }

  CommandResult download(const std::vector<std::string>& options,
                         const ProgramSettings& settings = {}) {
    std::vector<std::string> arguments{"download", server_.url("/"), folder_.path()};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runProgram(arguments, settings);
  }

  LoopbackServer server_;
  TemporaryFolder folder_;
};

TEST_F(ProgramStreams, NothingIsColoredWithoutATerminal) {
  const CommandResult result = download({});
  EXPECT_THAT(result.errorOutput, Not(HasSubstr(kEscape)));
  EXPECT_THAT(result.output, Not(HasSubstr(kEscape)));
}

TEST_F(ProgramStreams, ATerminalGetsColorsAndAProgressLine) {
  const CommandResult result = download({}, {.terminal = true});
  EXPECT_THAT(result.errorOutput, HasSubstr("\033[32m["));  // a success
  EXPECT_THAT(result.errorOutput, HasSubstr("\r\033[K[####################] 100%  "
                                            "Downloading missing 1 / 1   Verified: 1   Failed: 0"));
  EXPECT_EQ(result.output,
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 0\n");
}

TEST_F(ProgramStreams, NoColorRemovesTheColorsButNotTheProgressLine) {
  const CommandResult result = download({}, {.environment = {{"NO_COLOR", "1"}}, .terminal = true});
  EXPECT_THAT(result.errorOutput, Not(HasSubstr("\033[3")));
  EXPECT_THAT(result.errorOutput, Not(HasSubstr("\033[2m")));
  EXPECT_THAT(result.errorOutput, HasSubstr("Downloading missing 1 / 1"));
}

TEST_F(ProgramStreams, AnEmptyNoColorHasNoEffect) {
  const CommandResult result = download({}, {.environment = {{"NO_COLOR", ""}}, .terminal = true});
  EXPECT_THAT(result.errorOutput, HasSubstr("\033[32m["));
}

TEST_F(ProgramStreams, ADumbTerminalGetsNeitherColorsNorAProgressLine) {
  const CommandResult result = download({}, {.environment = {{"TERM", "dumb"}}, .terminal = true});
  EXPECT_THAT(result.errorOutput, Not(HasSubstr(kEscape)));
}

TEST_F(ProgramStreams, QuietPrintsNothingForARunWithoutErrors) {
  EXPECT_EQ(download({"--quiet"}).errorOutput, "");
}

TEST_F(ProgramStreams, QuietKeepsErrors) {
  server_.on("/debs/a.deb", respond(404, "not here"));
  const CommandResult result = download({"--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(consoleMessages(result.errorOutput),
            (std::vector<std::string>{
                "Size mismatch for a. Expected 26 bytes, got 8 bytes.",
                "Download failed: Size mismatch for a. Expected 26 bytes, got 8 bytes."}));
}

TEST_F(ProgramStreams, VerboseAddsTheSystemLog) {
  EXPECT_THAT(list({}).errorOutput, Not(HasSubstr("[Crawler]")));
  const std::string log = list({"--verbose"}).errorOutput;
  EXPECT_THAT(log, HasSubstr("[Crawler] Trying: " + server_.url("/Packages") + "\n"));
  EXPECT_THAT(log, HasSubstr("] Parsed 1 package(s)\n"));
  EXPECT_THAT(log, HasSubstr("[CrawlerLogger][success] Parsed 1 package(s)\n"));
}

TEST_F(ProgramStreams, AFullDiskForTheOutputIsAnError) {
  const CommandResult result = list({"--json"}, {.outputPath = "/dev/full"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.errorOutput, EndsWith("Could not write to standard output.\n"));
  EXPECT_EQ(runProgram({"--help"}, {.outputPath = "/dev/full"}).status, kExitFailed);
}

TEST_F(ProgramStreams, AClosedOutputIsAnErrorAndIsNotWrittenToAnotherFile) {
  const CommandResult result = download({}, {.outputPath = ""});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.errorOutput, EndsWith("Could not write to standard output.\n"));
  EXPECT_EQ(folder_.read("a.deb"), kPackageBody);
}

TEST_F(ProgramStreams, ABrokenPipeIsAnErrorAndNoCrash) {
  Gate gate;
  server_.on("/Packages", heldBy(gate, respond(200, stanza("a"))));
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  Program program({"list", server_.url("/")},
                  {.outputPath = "/proc/self/fd/" + std::to_string(ends[1])});
  ::close(ends[0]);
  ::close(ends[1]);
  gate.open();
  const CommandResult result = program.wait();
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.errorOutput, EndsWith("Could not write to standard output.\n"));
}

TEST_F(ProgramStreams, ControlCharactersOfANameDoNotReachTheTerminal) {
  server_.on("/Packages", respond(200, stanza("a", {{"Name", "x\033]0;title\007y"}})));
  EXPECT_THAT(list({}).output, HasSubstr("x\uFFFD]0;title\uFFFDy"));
  EXPECT_THAT(list({"--json"}).output, HasSubstr(R"(x\u001b]0;title\u0007y)"));
}

}  // namespace
}  // namespace tolvane
