// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "cli/SpaceReport.h"
#include "tests/cli/CommandResult.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/SmallDisk.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

PackageEntry package(const std::string& name, const std::string& size) {
  return PackageEntry({{"Package", name}, {"Filename", "debs/" + name}, {"Size", size}});
}

std::vector<std::string> report(const std::vector<PackageEntry>& packages,
                                const std::string& folder) {
  std::ostringstream stream;
  Console console(stream, {});
  reportSpace(packages, folder, console);
  return consoleMessages(stream.str());
}

TEST(SpaceReport, CountsFilesBytesAndTheFreeSpaceOfTheFolder) {
  const TemporaryFolder folder;
  EXPECT_THAT(report({package("a", "1200000"), package("b", "300")}, folder.path("new/deep")),
              ElementsAre(MatchesRegex("To download: 2 files, 1\\.2 MB; free: .+")));
}

TEST(SpaceReport, CountsFilesOfUnknownSize) {
  const TemporaryFolder folder;
  EXPECT_THAT(
      report({package("a", "5"), package("b", ""), package("c", "0"), package("d", "-1"),
              package("e", "x")},
             folder.path()),
      ElementsAre(MatchesRegex("To download: 5 files, 5 bytes \\(4 of unknown size\\); .*")));
  EXPECT_THAT(report({package("a", "")}, folder.path()),
              ElementsAre(MatchesRegex("To download: 1 file of unknown size; free: .*")));
}

TEST(SpaceReport, CountsANameOnce) {
  const TemporaryFolder folder;
  EXPECT_THAT(report({package("b", "10"), package("b", "10")}, folder.path()),
              ElementsAre(MatchesRegex("To download: 1 file, 10 bytes; .*")));
}

TEST(SpaceReport, DoesNotCountAZIPFileThatIsPresent) {
  const TemporaryFolder folder;
  folder.write("x.zip", "");
  PackageEntry entry = package("x.plist", "");
  entry.setInstaller4Package(true);
  entry.setPackageInfoURL("http://h/x.plist");
  EXPECT_THAT(report({entry}, folder.path()), IsEmpty());
}

TEST(SpaceReport, OfANamedDownloadLeavesOutWhatIsPresent) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages",
                 {.body = stanza("a", trueChecks()) + stanza("b", trueChecks())});
  const TemporaryFolder folder;
  folder.write("a.deb", "");
  const CommandResult result = runScripted(
      session, {"download", kRepository, folder.path(), "--package", "a", "--package", "b"});
  EXPECT_THAT(consoleMessages(result.errorOutput),
              Contains(MatchesRegex("To download: 1 file, 26 bytes; .*")));
}

TEST(SpaceReport, WarnsIfTheSpaceDoesNotSuffice) {
  const SmallDisk disk(64 * 1024);
  if (!disk.isMounted()) GTEST_SKIP() << "a file system cannot be mounted here";
  EXPECT_THAT(report({package("a", "70000")}, disk.folder().path()),
              ElementsAre("To download: 1 file, 70 KB; free: 65.5 KB",
                          "There is no room for all files: 70 KB to download, 65.5 KB free"));
  EXPECT_THAT(report({package("a", "60000")}, disk.folder().path()),
              ElementsAre("To download: 1 file, 60 KB; free: 65.5 KB"));
}

TEST(SpaceReport, HugeSizesDoNotOverflow) {
  const TemporaryFolder folder;
  const auto lines = report({package("a", "9223372036854775807"),
                             package("b", "99999999999999999999"), package("c", "7")},
                            folder.path());
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], MatchesRegex("To download: 3 files, 9223372 TB; .*"));
}

}  // namespace
}  // namespace tolvane
