// SPDX-License-Identifier: MIT
// tolvane-cli with repositories of each type.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/ExitStatus.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

const std::string kInstaller3List =
    "{ packages = ({ bundleIdentifier = org.example.a; name = A; version = 1; size = 2; "
    "location = \"files/a.zip\"; }); }";
const std::string kInstaller4Index =
    "{ packages = ({ identifier = org.example.b; name = B; version = 2; "
    "url = \"http://repo.example/info/b.plist\"; }); }";

CommandResult list(const ScriptedHTTPClient& session, const char* type) {
  return runScripted(session, {"list", kRepository, "--type", type, "--json"});
}

// The identifiers that a list prints.
std::vector<std::string> identifiers(const CommandResult& result) {
  std::vector<std::string> names;
  for (const auto& package : nlohmann::json::parse(result.output)) {
    names.push_back(package["packageName"]);
  }
  return names;
}

TEST(RepositoryTypes, EachTypeReadsItsOwnKindOfRepository) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/", {.body = kInstaller3List});
  session.answer("http://repo.example/info/index.plist", {.body = kInstaller4Index});
  session.answer("http://repo.example/Packages", {.body = stanza("c")});
  EXPECT_THAT(identifiers(list(session, "installer3")), ElementsAre("org.example.a"));
  EXPECT_THAT(identifiers(list(session, "installer4")), ElementsAre("org.example.b"));
  EXPECT_THAT(identifiers(list(session, "apt")), ElementsAre("c"));
  EXPECT_THAT(session.requestedURLs(),
              ElementsAre("http://repo.example/", "http://repo.example/info/index.plist",
                          "http://repo.example/Packages"));
}

TEST(RepositoryTypes, TheTypeIsDetectedIfNoneIsGiven) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/info/index.plist", {.body = kInstaller4Index});
  const CommandResult result = runScripted(session, {"list", kRepository, "--json"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(identifiers(result), ElementsAre("org.example.b"));
  EXPECT_THAT(session.requests(), SizeIs(21));
}

TEST(RepositoryTypes, ADetectionThatFindsNothingFails) {
  const ScriptedHTTPClient session;
  const CommandResult result = list(session, "auto");
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_EQ(result.output, "");
  EXPECT_THAT(session.requests(), SizeIs(20 + 284));
}

TEST(RepositoryTypes, ARepositoryThatGivesNeitherListNorErrorFails) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/", {.body = "(a, b)"});
  const CommandResult result = list(session, "installer3");
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(consoleMessages(result.errorOutput).back(),
            "Installer 3 repository could not be parsed as a plist.");
}

TEST(RepositoryTypes, AnEmptyListIsNoFailure) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/", {.body = "{ packages = (); }"});
  const CommandResult listed = list(session, "installer3");
  EXPECT_EQ(listed.status, kExitDone);
  EXPECT_EQ(listed.output, "[]\n");
  const TemporaryFolder folder;
  const CommandResult downloaded =
      runScripted(session, {"download", kRepository, folder.path(), "--type", "installer3"});
  EXPECT_EQ(downloaded.status, kExitDone);
  EXPECT_EQ(downloaded.output, "Missing: 0   Already present: 0\n");
}

TEST(RepositoryTypes, AnInstaller3PackageIsDownloadedAndItsSizeChecked) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/", {.body = kInstaller3List});
  session.answer("http://repo.example/files/a.zip", {.body = "PK"});
  session.answer("http://repo.example/files/a.zip", {.body = "PK and more"});
  const auto downloadTo = [&](const TemporaryFolder& folder) {
    return runScripted(session, {"download", kRepository, folder.path(), "--type", "installer3"});
  };
  const TemporaryFolder folder, other;
  EXPECT_EQ(downloadTo(folder).status, kExitDone);
  EXPECT_EQ(folder.read("a.zip"), "PK");
  EXPECT_EQ(downloadTo(other).status, kExitFailed);
}

TEST(RepositoryTypes, AnInstaller4PackageIsDownloadedThroughItsInformationList) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/info/index.plist", {.body = kInstaller4Index});
  session.answer("http://repo.example/info/b.plist",
                 {.body = "{ location = \"http://repo.example/packages/b.zip\"; }"});
  session.answer("http://repo.example/packages/b.zip", {.body = "PK"});
  const TemporaryFolder folder;
  const std::vector<std::string> arguments{"download", kRepository, folder.path(), "--type",
                                           "installer4"};
  EXPECT_EQ(runScripted(session, arguments).output,
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 0\n");
  EXPECT_EQ(folder.read("b.zip"), "PK");
  EXPECT_EQ(runScripted(session, arguments).output,
            "Finished missing. Downloaded: 0  Verified: 0  Failed: 0  Validation failed: 0  "
            "Skipped: 1  Already present: 0\n")
      << "the scan looks for another name than the run";
}

}  // namespace
}  // namespace tolvane
