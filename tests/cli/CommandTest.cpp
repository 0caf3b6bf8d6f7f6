// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "cli/Command.h"
#include "cli/ExitStatus.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

void expectRefusal(const std::vector<std::string>& arguments, const std::string& text) {
  const ScriptedHTTPClient session;
  const CommandResult result = runScripted(session, arguments);
  EXPECT_EQ(result.status, kExitUsage);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.errorOutput, text + "\n");
  EXPECT_THAT(session.requests(), IsEmpty());
}

TEST(Command, RefusesAnInvalidURL) {
  for (const char* url : {"", " ", "repo example", "http://repo.example/a b", "http://[::1/",
                          "http://repo.example/%zz"}) {
    expectRefusal({"list", url}, "Invalid repository URL.");
  }
}

TEST(Command, RefusesAURLWithoutASchemeOrAHost) {
  for (const char* url : {"example", "repo.example/debs", "//repo.example/", "file:///srv/repo",
                          "http://", "http:"}) {
    expectRefusal({"list", url}, "Invalid repository URL.");
    expectRefusal({"download", url, "folder"}, "Invalid repository URL.");
  }
}

TEST(Command, TrimsTheURL) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages", {200, stanza("a")});
  const CommandResult result = runScripted(session, {"list", " \n\thttp://repo.example \r\n"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(session.requestedURLs(), ElementsAre("http://repo.example/Packages"));
}

TEST(Command, RefusesAnUnsupportedSchemeAndAnImpossiblePort) {
  for (const char* url : {"ftp://repo.example/", "httpss://repo.example/", "http://repo.example:0/",
                          "http://repo.example:00/", "http://repo.example:65536/",
                          "https://repo.example:99999999999/"}) {
    expectRefusal({"list", url}, "Invalid repository URL.");
    expectRefusal({"download", url, "folder"}, "Invalid repository URL.");
  }
}

TEST(Command, AcceptsEveryValidPort) {
  for (const char* url : {"http://repo.example:1", "HTTP://repo.example:65535",
                          "https://repo.example:", "http://repo.example:0080"}) {
    ScriptedHTTPClient session;
    session.answer(std::string(url) + "/Packages", {200, stanza("a")});
    EXPECT_EQ(runScripted(session, {"list", url}).status, kExitDone);
  }
}

TEST(Command, ARepositoryWithoutAnIndexCannotBeLoaded) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"list", kRepository, "--type", "apt", "--json"},
        std::vector<std::string>{"download", kRepository, "folder", "--type", "apt"}}) {
    const ScriptedHTTPClient session;
    const CommandResult result = runScripted(session, arguments);
    EXPECT_EQ(result.status, kExitNotLoaded);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(consoleMessages(result.errorOutput).back(), "No Cydia/APT Packages file found.");
    EXPECT_THAT(session.requests(), SizeIs(20));
  }
}

TEST(Command, PrintsWhyARepositoryCouldNotBeLoadedAlsoWhenQuiet) {
  ScriptedHTTPClient session;
  Error expired{std::string(kURLErrorDomain), kURLErrorServerCertificateUntrusted, "untrusted",
                "SSL certificate problem: certificate has expired"};
  session.answer("http://repo.example/Packages", {0, "", expired});
  session.answer("http://repo.example/Packages.gz", failingAnswer(kURLErrorTimedOut, "timed out"));
  session.answer("http://repo.example/Packages.bz2", {403});
  session.answer("http://repo.example/Packages.xz", {200, "no index"});
  for (const char* option : {"--json", "--quiet"}) {
    const CommandResult result =
        runScripted(session, {"list", kRepository, "--type", "apt", option});
    EXPECT_EQ(result.status, kExitNotLoaded);
    EXPECT_EQ(consoleMessages(result.errorOutput).back(), "No Cydia/APT Packages file found.");
    EXPECT_THAT(plainLines(result.errorOutput),
                ElementsAre("SSL certificate problem: certificate has expired (2 requests)",
                            "timed out (2 requests)", "HTTP status 403 (2 requests)",
                            "HTTP status 404 (12 requests)"));
  }
}

TEST(Command, PrintsNoFailedRequestsIfTheRepositoryWasLoaded) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages.gz", failingAnswer(kURLErrorTimedOut, "timed out"));
  session.answer("http://repo.example/dists/ios/main/binary-iphoneos-arm/Packages",
                 {200, stanza("a")});
  const CommandResult result = runScripted(session, {"list", kRepository});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(plainLines(result.errorOutput), IsEmpty());
}

TEST(Command, PrintsHelpAndVersionToStandardOutput) {
  for (const char* argument : {"--help", "--version"}) {
    const CommandResult result = runScripted({}, {argument});
    EXPECT_EQ(result.status, kExitDone);
    EXPECT_THAT(result.output, HasSubstr("tolvane-cli"));
    EXPECT_EQ(result.errorOutput, "");
  }
}

TEST(Command, PrintsWrongUsageToStandardError) {
  const CommandResult result = runScripted({}, {"list"});
  EXPECT_EQ(result.status, kExitUsage);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(result.errorOutput, HasSubstr("URL"));
}

TEST(Command, FailsWhenItsOutputCannotBeWritten) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages", {200, stanza("a")});
  std::ostringstream output, errorOutput;
  output.setstate(std::ios::badbit);
  const int status =
      runCommand({"list", kRepository}, {session.factory(), output, errorOutput, {}});
  EXPECT_EQ(status, kExitFailed);
  EXPECT_THAT(errorOutput.str(), EndsWith("\nCould not write to standard output.\n"));
}

TEST(Command, QuietLeavesWarningsAndErrors) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages", {200, "no package in here\n"});
  const CommandResult result =
      runScripted(session, {"list", kRepository, "--type", "apt", "--quiet"});
  EXPECT_THAT(consoleMessages(result.errorOutput),
              ElementsAre("Package index contained no packages, trying next candidate: "
                          "http://repo.example/Packages",
                          "Package index contained no packages, trying next candidate: "
                          "http://repo.example/Packages",
                          "No Cydia/APT Packages file found."));
}

// The connection limits of the clients that a download makes after the client for its index.
std::vector<int> connectionLimits(const std::vector<std::string>& options) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages", {200, stanza("a")});
  const TemporaryFolder folder;
  std::vector<std::string> arguments{"download", kRepository, folder.path()};
  arguments.insert(arguments.end(), options.begin(), options.end());
  runScripted(session, arguments);
  std::vector<int> limits;
  for (const auto& configuration : session.configurations()) {
    limits.push_back(configuration.maximumConnectionsPerHost);
  }
  limits.erase(limits.begin());
  return limits;
}

TEST(Command, ConnectionsLimitTheDownloadSessions) {
  EXPECT_THAT(connectionLimits({"--connections", "17"}), AllOf(Not(IsEmpty()), Each(17)));
}

TEST(Command, WithoutConnectionsTheLimitIsSix) {
  EXPECT_THAT(connectionLimits({}), AllOf(Not(IsEmpty()), Each(6)));
}

}  // namespace
}  // namespace tolvane
