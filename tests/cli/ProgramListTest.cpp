// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

TEST(ProgramList, RequestsCandidatesUpToTheEleventhThatHasAnIndex) {
  LoopbackServer server;
  const std::string path = "/dists/stable/main/binary-iphoneos-arm/Packages.bz2";
  server.on(path, respond(200, bzip2ed(stanza("a") + stanza("b"))));
  const CommandResult result = runProgram({"list", server.url("/"), "--type", "apt", "--json"});

  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(server.targets(),
              ElementsAre("/Packages", "/Packages.gz", "/Packages.bz2", "/Packages.xz", "/Packages",
                          "/Packages.gz", "/Packages.bz2", "/Packages.xz",
                          "/dists/stable/main/binary-iphoneos-arm/Packages",
                          "/dists/stable/main/binary-iphoneos-arm/Packages.gz",
                          "/dists/stable/main/binary-iphoneos-arm/Packages.bz2"));
  for (const LoopbackRequest& request : server.requests()) {
    EXPECT_EQ(request.header("Cache-Control"), "no-cache") << request.target;
    EXPECT_EQ(request.header("Pragma"), "no-cache") << request.target;
  }
  const auto records = nlohmann::json::parse(result.output);
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ(records[0]["packageName"], "a");
  EXPECT_EQ(records[1]["filename"], "debs/b.deb");
}

TEST(ProgramList, LogsAnEmptyAnUndecodableAUselessAndAGoodIndex) {
  LoopbackServer server;
  const std::string useless = "Package: a\nVersion: 1.0\n";
  const std::string good = stanza("a") + stanza("b");
  server.on("/Packages", respond(200, ""));
  server.on("/Packages.gz", respond(200, "this is not gzip"));
  server.on("/Packages.bz2", respond(200, bzip2ed(useless)));
  server.on("/Packages.xz", respond(200, xzed(good)));
  const CommandResult result = runProgram({"list", server.url(""), "--type", "apt"});

  const auto url = [&](const char* name) { return server.url(std::string("/") + name); };
  const auto characters = [](const std::string& text) {
    return "Decoded Packages file (" + std::to_string(text.size()) + " chars)";
  };
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(
      consoleMessages(result.errorOutput),
      ElementsAre(
          "Fetching repository: " + server.url(""), "Trying package index: " + url("Packages"),
          "Package index found: " + url("Packages"), "Trying package index: " + url("Packages.gz"),
          "Package index found: " + url("Packages.gz"),
          "Could not decode package index, trying next path: " + url("Packages.gz"),
          "Trying package index: " + url("Packages.bz2"),
          "Package index found: " + url("Packages.bz2"), characters(useless), "Parsed 0 package(s)",
          "Package index contained no packages, trying next candidate: " + url("Packages.bz2"),
          "Trying package index: " + url("Packages.xz"),
          "Package index found: " + url("Packages.xz"), characters(good), "Parsed 2 package(s)",
          "Using package index: " + url("Packages.xz")));
}

TEST(ProgramList, GivesUpAfterTwentyCandidates) {
  LoopbackServer server;
  const CommandResult result = runProgram({"list", server.url("/"), "--type", "apt", "--json"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(server.requests(), SizeIs(20));
  EXPECT_EQ(consoleMessages(result.errorOutput).back(), "No Cydia/APT Packages file found.");
}

TEST(ProgramList, FailsIfTheServerCannotBeReached) {
  LoopbackServer server;
  const std::string url = server.url("/");
  server.stop();
  EXPECT_EQ(runProgram({"list", url}).status, kExitNotLoaded);
}

TEST(ProgramList, SearchesAndPrintsATable) {
  LoopbackServer server;
  server.on("/Packages",
            respond(200, stanza("com.example.clock", {{"Name", "Clock"}, {"Section", "Tabs"}}) +
                             stanza("com.example.other", {{"Name", "Other"}})));
  const CommandResult result = runProgram({"list", server.url("/"), "--search", "Ab"});
  EXPECT_EQ(result.output,
            "Identifier         Version  Arch          Size  Section  Name\n"
            "com.example.clock  1.0      iphoneos-arm        Tabs     Clock\n");
}

TEST(ProgramList, RefusesAnInvalidURL) {
  const CommandResult result = runProgram({"list", "repo.example"});
  EXPECT_EQ(result.status, kExitUsage);
  EXPECT_EQ(result.errorOutput, "Invalid repository URL.\n");
}

TEST(ProgramList, RefusesWrongUsage) {
  EXPECT_EQ(runProgram({}).status, kExitUsage);
  EXPECT_EQ(runProgram({"list", "http://repo.example/", "--unknown"}).status, kExitUsage);
}

}  // namespace
}  // namespace tolvane
