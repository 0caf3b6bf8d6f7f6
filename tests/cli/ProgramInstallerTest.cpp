// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
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
using testing::EndsWith;

const std::vector<std::string> kAPTPaths = [] {
  std::vector<std::string> paths;
  for (const std::string folder :
       {"", "", "dists/stable/main/binary-iphoneos-arm/", "dists/ios/main/binary-iphoneos-arm/",
        "dists/tangelo/main/binary-iphoneos-arm/"}) {
    for (const char* ending : {"", ".gz", ".bz2", ".xz"}) {
      paths.push_back("/" + folder + "Packages" + ending);
    }
  }
  return paths;
}();

const std::vector<std::string> kInstaller4Paths = [] {
  std::vector<std::string> paths;
  for (const std::string folder : {"/info/", "/"}) {
    paths.insert(paths.end(), {folder + "index.plist", folder + "Info.plist"});
    for (int version = 20; version < 160; ++version) {
      paths.push_back(folder + "index-" + std::to_string(version / 10) + "." +
                      std::to_string(version % 10) + ".plist");
    }
  }
  return paths;
}();

TEST(ProgramInstaller, RequestsEveryInstaller4IndexInOrder) {
  LoopbackServer server;
  const CommandResult result = runProgram({"list", server.url(""), "--type", "installer4"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_EQ(result.output, "");
  ASSERT_EQ(kInstaller4Paths.size(), 284U);
  EXPECT_THAT(server.targets(), ElementsAreArray(kInstaller4Paths));

  std::vector<std::string> messages{"Falling back to Installer 4 detection...",
                                    "Fetching Installer 4 repository: " + server.url("")};
  for (const std::string& path : kInstaller4Paths) {
    messages.push_back("Trying Installer 4 index: " + server.url(path));
  }
  messages.insert(messages.end(), 2, "No Installer 4 index plist found.");
  EXPECT_THAT(consoleMessages(result.errorOutput), ElementsAreArray(messages));
}

TEST(ProgramInstaller, LogsHowItDetectsAnInstaller4Repository) {
  LoopbackServer server;
  server.on("/info/index.plist", respond(200, "{ packages = ({ name = A; }, { name = B; }); }"));
  const CommandResult result = runProgram({"list", server.url("/"), "--json"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(nlohmann::json::parse(result.output).size(), 2U);

  std::vector<std::string> messages{"Auto-detecting repository type: " + server.url("/")};
  for (const std::string& path : kAPTPaths) {
    messages.push_back("Trying package index: " + server.url(path));
  }
  const std::string index = server.url("/info/index.plist");
  messages.insert(
      messages.end(),
      {"No Cydia/APT package index found. Trying Installer 4 detection...",
       "Falling back to Installer 4 detection...",
       "Fetching Installer 4 repository: " + server.url("/"), "Trying Installer 4 index: " + index,
       "Using Installer 4 index: " + index, "Installer 4 repository parsed: 2 package(s)",
       "Installer 4 repository detected (2 packages)"});
  EXPECT_THAT(consoleMessages(result.errorOutput), ElementsAreArray(messages));
}

TEST(ProgramInstaller, LogsHowItReadsAnInstaller3Repository) {
  LoopbackServer server;
  server.on("/list.xml", respond(200, "<plist><dict><key>packages</key><array/></dict></plist>"));
  const std::string url = server.url("/list.xml");
  const CommandResult result = runProgram({"list", url, "--type", "installer3", "--json"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output, "[]\n");
  EXPECT_THAT(server.targets(), ElementsAre("/list.xml"));
  EXPECT_THAT(consoleMessages(result.errorOutput),
              ElementsAre("Fetching Installer 3 repository: " + url,
                          "Fetching Installer 3 repository XML: " + url,
                          "Installer 3 repository parsed: 0 package(s)"));
}

TEST(ProgramInstaller, WaitsForMetadataThatIsSlowerThanThePackages) {
  LoopbackServer server;
  server.on("/Packages.gz", respond(200, gzipped(stanza("a"))));
  server.on("/debs/a.deb", respond(200, kPackageBody));
  server.on("/Release", delayed(std::chrono::milliseconds(700), respond(200, "release")));
  const TemporaryFolder folder;
  const CommandResult result =
      runProgram({"download", server.url("/"), folder.path(), "--metadata", "--verbose"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.output,
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 0\n");
  EXPECT_THAT(folder.names(), ElementsAre("Packages.gz", "Release", "a.deb", "dists"));
  EXPECT_EQ(folder.read("Release"), "release");
  EXPECT_THAT(linesOf(result.errorOutput),
              Contains(EndsWith("[Metadata] Archived 2 metadata files, 21 missing/failed.")));
}

TEST(ProgramInstaller, WarnsOfAZIPFileThatReplacesThatOfAnotherPackage) {
  LoopbackServer server;
  const auto dictionary = [](const std::string& entries) {
    return "<plist><dict>" + entries + "</dict></plist>";
  };
  std::string packages;
  for (const std::string name : {"a", "b"}) {
    packages += "<dict><key>identifier</key><string>" + name + "</string><key>url</key><string>" +
                server.url("/info/" + name + ".plist") + "</string></dict>";
    server.on("/info/" + name + ".plist",
              respond(200, dictionary("<key>location</key><string>" +
                                      server.url("/" + name + "/package.zip") + "</string>")));
    server.on("/" + name + "/package.zip", respond(200, "PK of " + name));
  }
  server.on("/info/index.plist",
            respond(200, dictionary("<key>packages</key><array>" + packages + "</array>")));
  const TemporaryFolder folder;
  const CommandResult result =
      runProgram({"download", server.url("/"), folder.path(), "--type", "installer4", "--quiet"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(folder.names().size(), 1U);
  EXPECT_THAT(result.errorOutput, testing::HasSubstr("has replaced the file of "));
  EXPECT_THAT(result.errorOutput, testing::HasSubstr(folder.path("package.zip")));
}

}  // namespace
}  // namespace tolvane
