// SPDX-License-Identifier: MIT
// --index, for a repository whose server no longer has an index.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/ExitStatus.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/Payloads.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(IndexOption, ListReadsTheFileAndRequestsNothing) {
  const ScriptedHTTPClient session;
  const TemporaryFolder folder;
  const std::string index = folder.write("Packages.bz2", bzip2ed(stanza("a") + stanza("b")));
  for (const char* type : {"auto", "apt"}) {
    const CommandResult result =
        runScripted(session, {"list", kRepository, "--index", index, "--type", type, "--json"});
    EXPECT_EQ(result.status, kExitDone);
    EXPECT_EQ(nlohmann::json::parse(result.output).size(), 2U);
  }
  EXPECT_THAT(session.requests(), IsEmpty());
}

TEST(IndexOption, DownloadRequestsOnlyThePackages) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/debs/a.deb", {.body = kPackageBody});
  const TemporaryFolder folder, indexes;
  const std::string index = indexes.write("Packages", stanza("a", trueChecks()));
  const CommandResult result =
      runScripted(session, {"download", kRepository, folder.path(), "--index", index});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_THAT(folder.names(), ElementsAre("a.deb"));
  EXPECT_THAT(session.requestedURLs(), ElementsAre("http://repo.example/debs/a.deb"));
}

TEST(IndexOption, AFileWithoutAListIsARepositoryThatCouldNotBeLoaded) {
  const ScriptedHTTPClient session;
  const TemporaryFolder folder;
  folder.write("empty", "");
  folder.write("x.gz", "this is not gzip");
  for (const char* name : {"absent", "empty", "x.gz"}) {
    const std::string path = folder.path(name);
    const CommandResult result =
        runScripted(session, {"list", kRepository, "--index", path, "--quiet"});
    EXPECT_EQ(result.status, kExitNotLoaded) << name;
    EXPECT_EQ(result.output, "");
    const std::vector<std::string> lines = plainLines(result.errorOutput);
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.back(), testing::StartsWith("Could not read " + path + ": "));
  }
  EXPECT_THAT(session.requests(), IsEmpty());
}

}  // namespace
}  // namespace tolvane
