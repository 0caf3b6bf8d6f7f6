// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::IsSubsetOf;
using testing::StartsWith;
using testing::UnorderedElementsAre;

const std::string kZeroMD5(32, '0');
const std::string kZeroSHA256(64, '0');

// One package of each outcome. "present" is in the folder before the run.
void serveEveryOutcome(LoopbackServer& server) {
  server.on(
      "/Packages",
      respond(200, stanza("good", trueChecks()) + stanza("wrong-size", {{"Size", "1234"}}) +
                       stanza("wrong-md5", {{"Size", kPackageSize}, {"MD5sum", kZeroMD5}}) +
                       stanza("wrong-sha256", {{"MD5sum", kPackageMD5}, {"SHA256", kZeroSHA256}}) +
                       stanza("gone") + stanza("present", trueChecks()) +
                       stanza("cut-off", trueChecks())));
  for (const char* name : {"good", "wrong-size", "wrong-md5", "wrong-sha256", "present"}) {
    server.on("/debs/" + std::string(name) + ".deb", respond(200, kPackageBody));
  }
  server.on("/debs/gone.deb", respond(404, "not here"));
  server.on("/debs/cut-off.deb", cutOff(kPackageBody, 10));
}

// A repository of `count` packages, p0 to pN, each served by the handler.
std::vector<std::string> servePackages(LoopbackServer& server, int count,
                                       const LoopbackHandler& handler) {
  std::string index;
  std::vector<std::string> files;
  for (int i = 0; i < count; ++i) {
    const std::string name = "p" + std::to_string(i);
    index += stanza(name, trueChecks());
    files.push_back(name + ".deb");
    server.on("/debs/" + files.back(), handler);
  }
  server.on("/Packages", respond(200, index));
  std::sort(files.begin(), files.end());
  return files;
}

// Answers every second request at once, and the others with 10 bytes, and the rest when the gate
// opens.
LoopbackHandler everySecondHeld(const Gate& gate) {
  const std::string body = kPackageBody;
  const std::string head = responseHead(200, {{"Content-Length", std::to_string(body.size())}});
  const LoopbackHandler held = heldBy(gate, sendRaw(body.substr(10)), head + body.substr(0, 10));
  const auto count = std::make_shared<std::atomic<int>>(0);
  return [=, whole = respond(200, body)](const auto& request, auto& connection) {
    (++*count % 2 == 0 ? held : whole)(request, connection);
  };
}

bool isWhole(const TemporaryFolder& folder, const std::string& name) {
  return folder.read(name) == kPackageBody;
}

TEST(ProgramDownload, CountsEveryOutcomeInItsSummary) {
  LoopbackServer server;
  serveEveryOutcome(server);
  const TemporaryFolder folder;
  folder.write("present.deb", "older");
  const CommandResult result = runProgram({"download", server.url("/"), folder.path()});

  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.output,
            "Finished missing. Downloaded: 2  Verified: 2  Failed: 4  Validation failed: 3  "
            "Skipped: 0  Already present: 1\n");
  const auto messages = consoleMessages(result.errorOutput);
  for (const char* message :
       {"Missing: 6   Already present: 1", "Starting download queue: 6 package(s)",
        "Verified good.deb", "Downloaded and verified: good.deb",
        "Size mismatch for wrong-size. Expected 1234 bytes, got 26 bytes.",
        "MD5 mismatch for wrong-md5.", "SHA256 mismatch for wrong-sha256.",
        "Downloaded and verified: gone.deb", "Download failed: The network connection was lost.",
        "Download queue finished. Downloaded: 2  Verified: 2  Failed: 4  Validation failed: 3  "
        "Skipped: 0"}) {
    EXPECT_THAT(messages, Contains(message));
  }
}

TEST(ProgramDownload, KeepsOnlyCompleteFiles) {
  LoopbackServer server;
  serveEveryOutcome(server);
  const TemporaryFolder folder;
  folder.write("present.deb", "older");
  runProgram({"download", server.url("/"), folder.path()});
  EXPECT_THAT(folder.names(), ElementsAre("gone.deb", "good.deb", "present.deb", "wrong-md5.deb",
                                          "wrong-sha256.deb", "wrong-size.deb"));
  EXPECT_TRUE(isWhole(folder, "good.deb"));
  EXPECT_EQ(folder.read("gone.deb"), "not here");
  EXPECT_EQ(folder.read("present.deb"), "older");
}

TEST(ProgramDownload, CountsEveryOutcomeInJSON) {
  LoopbackServer server;
  serveEveryOutcome(server);
  const TemporaryFolder folder;
  folder.write("present.deb", "older");
  const CommandResult result = runProgram({"download", server.url("/"), folder.path(), "--json"});
  EXPECT_EQ(result.status, kExitFailed);
  const auto object = nlohmann::ordered_json::parse(result.output);
  EXPECT_TRUE(result.output.starts_with(
      R"({"downloaded":2,"verified":2,"failed":4,"validationFailed":3,"skipped":0,)"
      R"("alreadyPresent":1,"failures":[)"))
      << result.output;
  std::map<std::string, nlohmann::ordered_json> failures;
  for (const auto& failure : object.at("failures")) failures[failure["package"]] = failure;
  EXPECT_EQ(failures.size(), 4U);
  EXPECT_EQ(failures["cut-off"].dump(),
            R"({"package":"cut-off","version":"1.0","filename":"debs/cut-off.deb","url":")" +
                server.url("/debs/cut-off.deb") +
                R"(","reason":"The network connection was lost.","domain":"NSURLErrorDomain",)"
                R"("code":-1005,"status":200})");
  EXPECT_EQ(failures["wrong-md5"]["domain"], "DownloadManager");
  EXPECT_EQ(failures["wrong-md5"]["code"], 2003);
}

TEST(ProgramDownload, ListsTheFailedAndTheInvalidAfterItsLastLine) {
  LoopbackServer server;
  serveEveryOutcome(server);
  const TemporaryFolder folder;
  const CommandResult result = runProgram({"download", server.url("/"), folder.path(), "--quiet"});
  const auto line = [&](const std::string& kind, const std::string& name,
                        const std::string& reason) {
    return kind + ": " + name + " 1.0, " + server.url("/debs/" + name + ".deb") + ": " + reason;
  };
  const std::vector<std::string> lines = plainLines(result.errorOutput);
  EXPECT_THAT(lines, UnorderedElementsAre(
                         line("Failed", "cut-off", "The network connection was lost."),
                         line("Invalid", "wrong-md5", "MD5 mismatch for wrong-md5."),
                         line("Invalid", "wrong-sha256", "SHA256 mismatch for wrong-sha256."),
                         line("Invalid", "wrong-size",
                              "Size mismatch for wrong-size. Expected 1234 bytes, got 26 bytes."),
                         "Invalid files stay in " + folder.path() +
                             " and count as present at the next run."));
  ASSERT_FALSE(lines.empty());
  EXPECT_THAT(lines.back(), StartsWith("Invalid files stay"));
}

TEST(ProgramDownload, ASecondRunRequestsOnlyTheIndex) {
  LoopbackServer server;
  servePackages(server, 5, respond(200, kPackageBody));
  const TemporaryFolder folder;
  EXPECT_EQ(runProgram({"download", server.url("/"), folder.path()}).status, kExitDone);
  const std::size_t before = server.requests().size();
  const CommandResult second = runProgram({"download", server.url("/"), folder.path()});
  EXPECT_EQ(second.status, kExitDone);
  EXPECT_EQ(second.output, "Missing: 0   Already present: 5\n");
  EXPECT_EQ(server.requests().size(), before + 1);
}

TEST(ProgramDownload, AcceptsARelativeFolder) {
  LoopbackServer server;
  servePackages(server, 1, respond(200, kPackageBody));
  const TemporaryFolder folder;
  const std::string relative = std::filesystem::relative(folder.path("new"));
  EXPECT_EQ(runProgram({"download", server.url("/"), relative}).status, kExitDone);
  EXPECT_TRUE(isWhole(folder, "new/p0.deb"));
}

class ProgramConnections : public testing::TestWithParam<std::size_t> {};

TEST_P(ProgramConnections, AreUsedToTheLimitAndNeverBeyond) {
  LoopbackServer server;
  Gate gate;
  servePackages(server, 60, heldBy(gate, respond(200, kPackageBody)));
  const TemporaryFolder folder;
  server.onAnyOther(delayed(std::chrono::milliseconds(5), respond(404, "")));
  Program program({"download", server.url("/"), folder.path(), "--metadata", "--connections",
                   std::to_string(GetParam())});
  waitUntil([&] { return server.requestsInFlight() == GetParam(); });
  gate.open();
  EXPECT_EQ(program.wait().status, kExitDone);
  EXPECT_EQ(server.maximumRequestsInFlight(), GetParam());
  EXPECT_LE(server.maximumOpenConnections(), GetParam());
  EXPECT_EQ(server.requests().size(), 1 + 60 + 23U);
}

INSTANTIATE_TEST_SUITE_P(Limits, ProgramConnections, testing::Values(1U, 2U, 20U));

TEST(ProgramDownload, ARunAfterAKilledOneCompletesTheFolder) {
  LoopbackServer server;
  Gate gate;
  const auto files = servePackages(server, 40, everySecondHeld(gate));
  const TemporaryFolder folder;
  Program program({"download", server.url("/"), folder.path()});
  // Then all connections wait in the middle of a file, and some files are complete.
  waitUntil([&] { return server.requestsInFlight() == 6 && !folder.names().empty(); });
  program.signal(SIGKILL);
  EXPECT_EQ(program.wait().status, -SIGKILL);
  const auto left = folder.names();
  EXPECT_LT(left.size(), files.size());
  for (const std::string& name : left) {
    if (name.starts_with(".")) continue;  // on a file system without unnamed files
    EXPECT_TRUE(isWhole(folder, name)) << name;
  }

  gate.open();
  const CommandResult second = runProgram({"download", server.url("/"), folder.path()});
  EXPECT_EQ(second.status, kExitDone);
  EXPECT_THAT(folder.names(), ElementsAreArray(files));
  for (const std::string& name : files) EXPECT_TRUE(isWhole(folder, name)) << name;
}

class ProgramInterrupt : public testing::TestWithParam<int> {};

TEST_P(ProgramInterrupt, KillsTheProgramAndLeavesNoPartialFile) {
  LoopbackServer server;
  Gate gate;
  const auto files = servePackages(server, 40, everySecondHeld(gate));
  const TemporaryFolder folder;
  Program program({"download", server.url("/"), folder.path()});
  waitUntil([&] { return server.requestsInFlight() == 6 && !folder.names().empty(); });
  program.signal(GetParam());
  const CommandResult result = program.wait();
  EXPECT_EQ(result.status, -GetParam());
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(folder.names(), IsSubsetOf(files));
  for (const std::string& name : folder.names()) EXPECT_TRUE(isWhole(folder, name)) << name;
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramInterrupt, testing::Values(SIGHUP, SIGINT, SIGTERM));

TEST(ProgramDownload, CanBeInterruptedWhileItWaitsForTheIndex) {
  LoopbackServer server;
  server.on("/Packages", stall());
  const TemporaryFolder folder;
  Program program({"download", server.url("/"), folder.path("new")});
  waitUntil([&] { return server.requestsInFlight() == 1; });
  program.signal(SIGINT);
  EXPECT_EQ(program.wait().status, -SIGINT);
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
}  // namespace tolvane
