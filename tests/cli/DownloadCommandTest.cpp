// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/DownloadCommand.h"
#include "cli/ExitStatus.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A repository with these packages, whose files match the index.
void serve(ScriptedHTTPClient& session, const std::vector<std::string>& names) {
  std::string index;
  for (const std::string& name : names) {
    index += stanza(name, trueChecks());
    session.answer(std::string(kRepository) + "debs/" + name + ".deb", {200, kPackageBody});
  }
  session.answer(std::string(kRepository) + "Packages", {200, index});
}

TEST(DownloadCommand, DownloadsWhatTheFolderLacks) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b", "c"});
  const TemporaryFolder folder;
  folder.write("b.deb", "other contents");
  const CommandResult result = runScripted(session, {"download", kRepository, folder.path()});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output,
            "Finished missing. Downloaded: 2  Verified: 2  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 1\n");
  EXPECT_THAT(consoleMessages(result.errorOutput), Contains("Missing: 2   Already present: 1"));
  EXPECT_THAT(folder.names(), ElementsAre("a.deb", "b.deb", "c.deb"));
  EXPECT_EQ(folder.read("a.deb"), kPackageBody);
  EXPECT_EQ(folder.read("b.deb"), "other contents");
}

TEST(DownloadCommand, EndsWithTheScanIfNothingIsMissing) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b"});
  const TemporaryFolder folder;
  folder.write("a.deb", "");
  folder.write("b.deb", "");
  const CommandResult result = runScripted(session, {"download", kRepository, folder.path()});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output, "Missing: 0   Already present: 2\n");
  EXPECT_THAT(result.errorOutput, Not(HasSubstr("Missing:")));
  EXPECT_THAT(result.errorOutput, Not(HasSubstr("Starting download queue")));
}

TEST(DownloadCommand, CountsInJSON) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b", "c"});
  const TemporaryFolder folder;
  folder.write("b.deb", "");
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--json"});
  EXPECT_EQ(result.output,
            R"({"downloaded":2,"verified":2,"failed":0,"validationFailed":0,"skipped":0,)"
            R"("alreadyPresent":1,"failures":[]})"
            "\n");
}

TEST(DownloadCommand, CountsInJSONIfNothingIsMissing) {
  ScriptedHTTPClient session;
  serve(session, {"a"});
  const TemporaryFolder folder;
  folder.write("a.deb", "");
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--json"});
  EXPECT_EQ(result.output,
            R"({"downloaded":0,"verified":0,"failed":0,"validationFailed":0,"skipped":0,)"
            R"("alreadyPresent":1,"failures":[]})"
            "\n");
}

TEST(DownloadCommand, ExitsWithOneWhenAPackageFails) {
  ScriptedHTTPClient session;
  session.answer(std::string(kRepository) + "Packages", {200, stanza("a") + stanza("b")});
  session.answer(std::string(kRepository) + "debs/a.deb", {200, kPackageBody});
  session.answer(std::string(kRepository) + "debs/b.deb",
                 failingAnswer(kURLErrorNetworkConnectionLost, "The network connection was lost."));
  const TemporaryFolder folder;
  const CommandResult result = runScripted(session, {"download", kRepository, folder.path()});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.output,
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 1  Validation failed: 0  "
            "Skipped: 0  Already present: 0\n");
}

TEST(DownloadCommand, DownloadsEveryEntryOfANamedPackage) {
  ScriptedHTTPClient session;
  const std::string root = kRepository;
  session.answer(root + "Packages",
                 {200, stanza("a") + stanza("b") + "Package: a\nFilename: debs/a2.deb\n\n"});
  for (const char* name : {"a", "b", "a2"}) {
    session.answer(root + "debs/" + name + ".deb", {200, kPackageBody});
  }
  const TemporaryFolder folder;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--package", "a"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output,
            "Finished. Downloaded: 2  Verified: 2  Failed: 0  Validation failed: 0  Skipped: 0\n");
  EXPECT_THAT(folder.names(), ElementsAre("a.deb", "a2.deb"));
}

TEST(DownloadCommand, CountsANamedPackageThatIsPresentAsSkipped) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b", "c"});
  const TemporaryFolder folder;
  folder.write("a.deb", "");
  const CommandResult result = runScripted(session, {"download", kRepository, folder.path(),
                                                     "--package", "c", "--package", "a", "--json"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output,
            R"({"downloaded":1,"verified":1,"failed":0,"validationFailed":0,"skipped":1,)"
            R"("alreadyPresent":0,"failures":[]})"
            "\n");
  EXPECT_THAT(folder.names(), ElementsAre("a.deb", "c.deb"));
}

TEST(DownloadCommand, APackageThatTheRepositoryDoesNotHaveIsAFailure) {
  ScriptedHTTPClient session;
  serve(session, {"a"});
  const TemporaryFolder folder;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--package", "A", "--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(consoleMessages(result.errorOutput),
              ElementsAre("No such package: A", "Download queue is empty."));
  EXPECT_EQ(result.output,
            "Finished. Downloaded: 0  Verified: 0  Failed: 0  Validation failed: 0  Skipped: 0\n");
}

TEST(DownloadCommand, AnUnknownPackageDoesNotKeepTheOthersFromBeingDownloaded) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b"});
  const TemporaryFolder folder;
  const CommandResult result = runScripted(
      session,
      {"download", kRepository, folder.path(), "--package", "x", "--package", "b", "--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(consoleMessages(result.errorOutput), ElementsAre("No such package: x"));
  EXPECT_EQ(result.output,
            "Finished. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  Skipped: 0\n");
  EXPECT_THAT(folder.names(), ElementsAre("b.deb"));
}

TEST(DownloadCommand, CreatesTheFolder) {
  ScriptedHTTPClient session;
  serve(session, {"a"});
  const TemporaryFolder folder;
  runScripted(session, {"download", kRepository, folder.path("new/deep")});
  EXPECT_EQ(folder.read("new/deep/a.deb"), kPackageBody);
}

TEST(DownloadCommand, AFileWithTheNameOfTheFolderFailsEachPackage) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b"});
  const TemporaryFolder folder;
  folder.write("taken", "a file");
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path("taken")});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.output, HasSubstr("Failed: 2"));
  EXPECT_EQ(folder.read("taken"), "a file");
}

TEST(DownloadCommand, ANameThatWouldLeaveTheFolderFails) {
  ScriptedHTTPClient session;
  session.answer(std::string(kRepository) + "Packages", {200, "Package: a\nFilename: debs/..\n\n"});
  session.answer(std::string(kRepository) + "debs/..", {200, kPackageBody});
  const TemporaryFolder folder;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path("new"), "--json"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(nlohmann::json::parse(result.output)["failed"], 1);
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(DownloadCommand, ShowsItsProgressOnATerminal) {
  ScriptedHTTPClient session;
  serve(session, {"a", "b"});
  const TemporaryFolder folder;
  ConsoleSettings terminal;
  terminal.statusLine = true;
  terminal.columns = 200;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path()}, terminal);
  EXPECT_THAT(result.errorOutput,
              HasSubstr("\r\033[K[####################] 100%  Downloading missing 2 / 2   "
                        "Verified: 2   Failed: 0   Validation failed: 0   Skipped: 0"));
  EXPECT_THAT(result.errorOutput, EndsWith("\r\033[K"));
}

TEST(DownloadCommand, ANamedDownloadHasItsOwnProgressText) {
  ScriptedHTTPClient session;
  serve(session, {"a"});
  const TemporaryFolder folder;
  ConsoleSettings terminal;
  terminal.statusLine = true;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--package", "a"}, terminal);
  EXPECT_THAT(result.errorOutput, HasSubstr("100%  Downloading 1 / 1   Verified: 1"));
}

TEST(DownloadCommand, ShowsNoProgressWhenQuiet) {
  ScriptedHTTPClient session;
  serve(session, {"a"});
  const TemporaryFolder folder;
  ConsoleSettings terminal;
  terminal.statusLine = true;
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--quiet"}, terminal);
  EXPECT_EQ(result.errorOutput, "");
}

}  // namespace
}  // namespace tolvane
