// SPDX-License-Identifier: MIT
// What a download with --metadata saves as well.
#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Error.h"
#include "cli/ExitStatus.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr const char* kSummary =
    "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  Skipped: 0  "
    "Already present: 0\n";

// A flat repository of one package.
class Metadata : public testing::Test {
 protected:
  Metadata() {
    session_.answer("http://repo.example/Packages", {.body = stanza("a")});
    session_.answer("http://repo.example/Release", {.body = "release"});
    session_.answer("http://repo.example/debs/a.deb", {.body = kPackageBody});
  }

  CommandResult download(const std::vector<std::string>& options) const {
    std::vector<std::string> arguments{"download", kRepository, folder_.path(), "--type", "apt"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runScripted(session_, arguments);
  }

  long timesRequested(const std::string& path) const {
    const std::vector<std::string> urls = session_.requestedURLs();
    return std::count(urls.begin(), urls.end(), "http://repo.example/" + path);
  }

  const TemporaryFolder folder_;
  ScriptedHTTPClient session_;
  const LogRecorder log_;
};

TEST_F(Metadata, IsSavedInTheFolderOfThePackages) {
  const CommandResult result = download({"--metadata"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output, kSummary);
  EXPECT_THAT(folder_.names(), ElementsAre("Packages", "Release", "a.deb", "dists"));
  EXPECT_EQ(folder_.read("Release"), "release");
}

TEST_F(Metadata, IsReportedInTheSystemLogOnly) {
  const CommandResult result = download({"--metadata"});
  EXPECT_THAT(log_.lines(), Contains("[Metadata] Archived 2 metadata files, 21 missing/failed."));
  EXPECT_THAT(
      consoleMessages(result.errorOutput),
      ElementsAre("Fetching repository: http://repo.example/",
                  "Trying package index: http://repo.example/Packages",
                  "Package index found: http://repo.example/Packages",
                  "Decoded Packages file (" + std::to_string(stanza("a").size()) + " chars)",
                  "Parsed 1 package(s)", "Using package index: http://repo.example/Packages",
                  "Missing: 1   Already present: 0",
                  StartsWith("To download: 1 file of unknown size; free: "),
                  "Starting download queue: 1 package(s)",
                  "Downloading: http://repo.example/debs/a.deb", "Verified a.deb",
                  "Downloaded and verified: a.deb",
                  "Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                  "Validation failed: 0  Skipped: 0"));
}

TEST_F(Metadata, IsNotSavedWithoutTheOption) {
  EXPECT_EQ(download({}).output, kSummary);
  EXPECT_THAT(folder_.names(), ElementsAre("a.deb"));
  EXPECT_EQ(timesRequested("Release"), 0);
}

TEST_F(Metadata, IsSavedAlsoIfNoPackageIsMissing) {
  folder_.write("a.deb", "");
  const CommandResult result = download({"--metadata"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output, "Missing: 0   Already present: 1\n");
  EXPECT_EQ(folder_.read("Release"), "release");
  EXPECT_EQ(session_.requests().size(), 1U + 23U);
}

TEST_F(Metadata, IsSavedAlsoIfNoNamedPackageExists) {
  const CommandResult result = download({"--metadata", "--package", "x"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(folder_.names(), ElementsAre("Packages", "Release", "dists"));
}

TEST_F(Metadata, IsNotRequestedIfTheRepositoryCouldNotBeLoaded) {
  const ScriptedHTTPClient session;
  const CommandResult result = runScripted(
      session, {"download", kRepository, folder_.path(), "--type", "apt", "--metadata"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_EQ(session.requests().size(), 20U);
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(Metadata, ThatHasNoFolderIsAFailureWithItsReason) {
  folder_.write("taken", "a file");
  const std::string reason = posixError(ENOTDIR).description;
  const CommandResult result = runScripted(
      session_,
      {"download", kRepository, folder_.path("taken"), "--type", "apt", "--metadata", "--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(
      consoleMessages(result.errorOutput),
      ElementsAre(reason, "Download failed: " + reason, "Could not save metadata: " + reason));
  EXPECT_EQ(timesRequested("Release"), 0);
}

TEST_F(Metadata, IsRequestedAfterThePackages) {
  download({"--metadata"});
  const std::vector<std::string> urls = session_.requestedURLs();
  ASSERT_EQ(urls.size(), 1U + 1U + 23U);
  EXPECT_EQ(urls[1], "http://repo.example/debs/a.deb");
}

TEST_F(Metadata, IsSavedWithNamedPackagesToo) {
  EXPECT_EQ(download({"--metadata", "--package", "a"}).output,
            "Finished. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  Skipped: 0\n");
  EXPECT_EQ(folder_.read("Release"), "release");
}

TEST_F(Metadata, ThatTheServerDoesNotHaveIsNoFailure) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages", {.body = stanza("a")});
  session.answer("http://repo.example/Packages", {.status = 404});
  session.answer("http://repo.example/Release", {.status = 410});
  session.answer("http://repo.example/debs/a.deb", {.body = kPackageBody});
  const CommandResult result = runScripted(
      session, {"download", kRepository, folder_.path(), "--type", "apt", "--metadata", "--quiet"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output, kSummary);
  EXPECT_EQ(result.errorOutput, "");
  EXPECT_THAT(log_.lines(), Contains("[Metadata] Archived 0 metadata files, 23 missing/failed."));
}

TEST_F(Metadata, ThatCouldNotBeSavedIsAFailureWithItsReason) {
  session_.answer(
      "http://repo.example/InRelease",
      failingAnswer(kURLErrorNetworkConnectionLost, "The network connection was lost."));
  session_.answer("http://repo.example/Release.gpg", {.status = 500});
  session_.answer("http://repo.example/CydiaIcon.png", {.body = "icon"});
  folder_.write("CydiaIcon.png/in the way", "");
  const CommandResult result = download({"--metadata", "--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.output, kSummary);
  EXPECT_THAT(
      consoleMessages(result.errorOutput),
      UnorderedElementsAre("Could not save InRelease: The network connection was lost.",
                           "Could not save Release.gpg: HTTP status 500",
                           "Could not save CydiaIcon.png: " + posixError(EISDIR).description));
  EXPECT_THAT(log_.lines(), Not(Contains(HasSubstr("Could not save"))));
}

}  // namespace
}  // namespace tolvane
