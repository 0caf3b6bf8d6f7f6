// SPDX-License-Identifier: MIT
// What a run reports about the packages that failed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/Command.h"
#include "cli/ExitStatus.h"
#include "cli/FailureReport.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kRoot = kRepository;

// A repository in which the download of each package, p0, p1 and so on, ends in a lost connection.
ScriptedHTTPClient failing(int count) {
  ScriptedHTTPClient session;
  std::string index;
  for (int i = 0; i < count; ++i) {
    const std::string name = "p" + std::to_string(i);
    index += stanza(name);
    session.answer(kRoot + "debs/" + name + ".deb",
                   failingAnswer(kURLErrorNetworkConnectionLost, "lost"));
  }
  session.answer(kRoot + "Packages", {.body = index});
  return session;
}

// The lines of a report on one outcome.
std::vector<std::string> shown(const PackageEntry& package, const LastRequest& request,
                               const std::optional<Error>& error) {
  FailureReport report;
  report.add({package, request, false, error});
  std::ostringstream stream;
  Console console(stream, {});
  report.show(console, "the folder");
  return linesOf(stream.str());
}

PackageEntry package() {
  return PackageEntry({{"Package", "a"}, {"Version", "1.0"}, {"Filename", "debs/a.deb"}});
}

TEST(FailureReport, FollowsTheLastLineOfTheRun) {
  const ScriptedHTTPClient session = failing(1);
  const TemporaryFolder folder;
  std::ostringstream both;
  runCommand({"download", kRepository, folder.path(), "--quiet"},
             {session.factory(), both, both, {}});
  const std::vector<std::string> lines = linesOf(both.str());
  ASSERT_GE(lines.size(), 2U);
  EXPECT_THAT(lines[lines.size() - 2], testing::StartsWith("Finished missing. "));
  EXPECT_EQ(lines.back(), "Failed: p0 1.0, http://repo.example/debs/p0.deb: lost");
}

TEST(FailureReport, ListsTwentyAndCountsTheOthers) {
  const ScriptedHTTPClient session = failing(23);
  const TemporaryFolder folder;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--quiet"});
  const std::vector<std::string> lines = plainLines(result.errorOutput);
  ASSERT_EQ(lines.size(), 21U);
  EXPECT_EQ(lines.back(), "and 3 more");
}

TEST(FailureReport, ListsAllInJSON) {
  const ScriptedHTTPClient session = failing(23);
  const TemporaryFolder folder;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--json"});
  const auto object = nlohmann::json::parse(result.output);
  EXPECT_EQ(object.at("failures").size(), 23U);
  EXPECT_EQ(plainLines(result.errorOutput).size(), 21U);
}

TEST(FailureReport, IsEmptyIfNothingFailed) {
  FailureReport report;
  report.add(
      {package(), {URL::parse("http://h/"), HTTPResponse{200}, "a.deb"}, true, std::nullopt});
  std::ostringstream stream;
  Console console(stream, {});
  report.show(console, "the folder");
  EXPECT_EQ(stream.str(), "");
  EXPECT_EQ(report.json().dump(), "[]");
}

TEST(FailureReport, SaysThatInvalidFilesStay) {
  const Error mismatch{"DownloadManager", 2004, "SHA256 mismatch for a."};
  EXPECT_THAT(
      shown(package(), {URL::parse("http://h/a.deb"), HTTPResponse{200}, "a.deb"}, mismatch),
      ElementsAre("Invalid: a 1.0, http://h/a.deb: SHA256 mismatch for a.",
                  "Invalid files stay in the folder and count as present at the next run."));
}

TEST(FailureReport, AFileThatWasRemovedIsNotCalledInvalid) {
  const Error vanished{"DownloadManager", 2001, "Downloaded file does not exist."};
  EXPECT_THAT(
      shown(package(), {URL::parse("http://h/a.deb"), HTTPResponse{200}, "a.deb"}, vanished),
      ElementsAre("Failed: a 1.0, http://h/a.deb: Downloaded file does not exist."));
}

TEST(FailureReport, HasNoAddressIfNothingWasRequested) {
  EXPECT_THAT(shown(package(), {}, Error{"DownloadManager", 1001, "reason"}),
              ElementsAre("Failed: a 1.0: reason"));
}

TEST(FailureReport, AFailureWithoutAnErrorIsUnknown) {
  EXPECT_THAT(shown(package(), {}, std::nullopt), ElementsAre("Failed: a 1.0: Unknown error"));
  FailureReport report;
  report.add({package(), {}, false, std::nullopt});
  EXPECT_EQ(report.json().dump(),
            R"([{"package":"a","version":"1.0","filename":"debs/a.deb","url":"",)"
            R"("reason":"Unknown error","domain":"","code":0,"status":0}])");
}

TEST(FailureReport, ShowsNoPassword) {
  const LastRequest request{URL::parse("http://user:secret@h/a.deb"), HTTPResponse{503}, ""};
  EXPECT_THAT(shown(package(), request, Error{"D", 1, "reason"}),
              ElementsAre("Failed: a 1.0, http://user:***@h/a.deb: reason"));
  FailureReport report;
  report.add({package(), request, false, Error{"D", 1, "reason"}});
  EXPECT_EQ(report.json()[0]["url"], "http://user:***@h/a.deb");
  EXPECT_EQ(report.json()[0]["status"], 503);
}

TEST(FailureReport, SendsNoControlCharacterOfAPackage) {
  PackageEntry hostile = package();
  hostile.setPackageName("a\033[2J\u202E");
  EXPECT_THAT(shown(hostile, {}, std::nullopt),
              ElementsAre("Failed: a\uFFFD[2J\uFFFD 1.0: Unknown error"));
}

}  // namespace
}  // namespace tolvane
