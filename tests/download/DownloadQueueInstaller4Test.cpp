// SPDX-License-Identifier: MIT
// What a run of the download queue does with packages of an Installer 4 repository.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "download/DownloadQueueManager.h"
#include "tests/download/QueueRun.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using PackageList = DownloadQueueManager::PackageList;

PackageEntry package(const std::string& infoURL, PackageEntry::Dictionary fields = {}) {
  fields["Installer4Package"] = "1";
  fields["Filename"] = infoURL;
  fields["PackageInfoURL"] = infoURL;
  return PackageEntry(fields);
}

std::string infoWithLocation(const std::string& location) {
  return "{ location = \"" + location + "\"; }";
}

class DownloadQueueInstaller4Test : public testing::Test {
 protected:
  void serve(const std::string& url, const std::string& body) {
    session_.answer("http://repo.example/" + url, {.body = body});
  }

  Summary runToEnd(const PackageList& packages) {
    DownloadQueueManager queue(loop_, session_.factory());
    queue.downloadPackages(packages, URL::parse("http://repo.example"), folder_.path(),
                           run_.progress(), run_.completion([this] { loop_.quit(); }));
    run_.runToEnd(loop_);
    return run_.summary().value_or(Summary());
  }

  // The messages of a run but for its first and last.
  std::vector<std::string> messagesOfRun() const {
    const std::vector<std::string> messages = log_.messages();
    return {messages.begin() + 1, messages.end() - 1};
  }

  const TemporaryFolder folder_;
  CountingRunLoop loop_;
  ScriptedHTTPClient session_;
  const QueueRun run_;
  const LogRecorder log_;
};

TEST_F(DownloadQueueInstaller4Test, ASavedZipCountsAsDownloadedAndVerified) {
  serve("info/a.plist", infoWithLocation("http://repo.example/a.zip"));
  serve("a.zip", "PK");
  EXPECT_EQ(runToEnd({package("http://repo.example/info/a.plist")}), (Summary{1, 0, 0, 1, 0}));
  EXPECT_THAT(messagesOfRun(), ElementsAre("success: Downloaded Installer 4 package: a.zip"));
  EXPECT_THAT(run_.reports(), ElementsAre(ProgressReport{1, 1, 0, 0, 1, 0}));
  EXPECT_EQ(folder_.read("a.zip"), "PK");
}

TEST_F(DownloadQueueInstaller4Test, ASuccessIsLoggedWithTheExpectedNameNotTheFilesOwn) {
  serve("info/a.plist", infoWithLocation("http://repo.example/a-1.0.zip"));
  serve("a-1.0.zip", "PK");
  runToEnd({package("http://repo.example/info/a.plist")});
  EXPECT_THAT(messagesOfRun(), ElementsAre("success: Downloaded Installer 4 package: a.zip"));
  EXPECT_THAT(folder_.names(), ElementsAre("a-1.0.zip"));
}

TEST_F(DownloadQueueInstaller4Test, AFailureCountsAsFailedAloneAndIsLoggedOnce) {
  EXPECT_EQ(runToEnd({package("http://repo.example/info/a.plist")}), (Summary{0, 1, 0, 0, 0}));
  EXPECT_THAT(messagesOfRun(),
              ElementsAre("error: Failed Installer 4 package: Could not load Installer package "
                          "info plist."));
}

TEST_F(DownloadQueueInstaller4Test, AFailureWithoutErrorIsUnknown) {
  serve("info/a.plist", "(a, b)");
  EXPECT_EQ(runToEnd({package("http://repo.example/info/a.plist")}), (Summary{0, 1, 0, 0, 0}));
  EXPECT_THAT(messagesOfRun(), ElementsAre("error: Failed Installer 4 package: Unknown error"));
}

TEST_F(DownloadQueueInstaller4Test, AFailureWithoutDescriptionIsUnknown) {
  session_.answer("http://repo.example/info/a.plist", failingAnswer(-1001, ""));
  runToEnd({package("http://repo.example/info/a.plist")});
  EXPECT_THAT(messagesOfRun(), ElementsAre("error: Failed Installer 4 package: Unknown error"));
}

TEST_F(DownloadQueueInstaller4Test, AZipOfTheExpectedNameIsSkippedYetStillListedAsMissing) {
  folder_.write("a.zip", "");
  const PackageList packages{package("http://repo.example/info/a.plist")};
  EXPECT_THAT(DownloadQueueManager::missingPackagesFromPackages(packages, folder_.path()),
              SizeIs(1));
  EXPECT_EQ(runToEnd(packages), (Summary{0, 0, 1, 0, 0}));
  EXPECT_THAT(messagesOfRun(), ElementsAre("success: Skipped existing file: a.zip"));
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(DownloadQueueInstaller4Test, AZipOfAnotherNameThanExpectedIsNotFoundByTheNextRun) {
  serve("info/a.plist", infoWithLocation("http://repo.example/a-1.0.zip"));
  serve("a-1.0.zip", "new");
  folder_.write("a-1.0.zip", "old");
  EXPECT_EQ(runToEnd({package("http://repo.example/info/a.plist")}), (Summary{1, 0, 0, 1, 0}));
  EXPECT_EQ(folder_.read("a-1.0.zip"), "new");
}

TEST_F(DownloadQueueInstaller4Test, TheExpectedNameIsThatOfTheDownloadURLWhereThereIsOne) {
  const PackageEntry entry = package("http://repo.example/info/a.plist",
                                     {{"DownloadURL", "http://repo.example/files/b.zip"}});
  EXPECT_EQ(DownloadQueueManager::localFilenameForPackage(entry), "b.zip");
  folder_.write("b.zip", "");
  EXPECT_EQ(runToEnd({entry}), (Summary{0, 0, 1, 0, 0}));
}

TEST_F(DownloadQueueInstaller4Test, AnyOtherPackageIsLookedForUnderItsOwnName) {
  const PackageEntry entry(
      {{"Filename", "pool/a.deb"}, {"PackageInfoURL", "http://repo.example/info/b.plist"}});
  EXPECT_EQ(DownloadQueueManager::localFilenameForPackage(entry), "a.deb");
}

TEST_F(DownloadQueueInstaller4Test, BothKindsOfPackagesMayBeInOneRun) {
  serve("info/a.plist", infoWithLocation("http://repo.example/a.zip"));
  serve("a.zip", "PK");
  serve("pool/b.deb", "deb");
  EXPECT_EQ(runToEnd({package("http://repo.example/info/a.plist"),
                      PackageEntry({{"Package", "b"}, {"Filename", "pool/b.deb"}})}),
            (Summary{2, 0, 0, 2, 0}));
  EXPECT_THAT(folder_.names(), ElementsAre("a.zip", "b.deb"));
}

TEST(DownloadQueueInstaller4OnLoopback, EachPackageEndsAsWhatItIsAndNothingIsAskedForTwice) {
  LoopbackServer server;
  const auto serveInfo = [&](const std::string& name, const std::string& location) {
    server.on("/repo/info/" + name + ".plist",
              respond(200, infoWithLocation(server.url(location))));
  };
  serveInfo("direct", "/files/direct.zip");
  server.on("/files/direct.zip", respond(200, "PK direct"));
  serveInfo("moved", "/files/moved.zip");
  server.on("/files/moved.zip", respond(200, "PK moved"));
  serveInfo("mirrored", "/gone/packages/mirrored.zip");
  server.on("/gone/packages/mirrored.zip", respond(500, "no"));
  server.on("/repo/packages/mirrored.zip", respond(200, "PK mirrored"));
  serveInfo("glued", "/repopackages/glued.zip");
  server.on("/repo/packages/glued.zip", respond(200, "PK glued"));
  serveInfo("lost", "/repo/packages/lost.zip");
  server.on("/repo/info/homeless.plist", respond(200, "{ name = homeless; }"));
  server.on("/repo/info/list.plist", respond(200, "<plist><array><dict/></array></plist>"));

  const TemporaryFolder folder;
  folder.write("present.zip", "whatever");
  const LogRecorder log;
  RunLoop loop;
  const QueueRun run;
  const auto info = [&](const std::string& path) { return package(server.url(path)); };
  DownloadQueueManager queue(loop);
  queue.downloadPackages(
      {info("/repo/info/direct.plist"), info("/gone/info/moved.plist"),
       info("/repo/info/mirrored.plist"), info("/repo/info/glued.plist"),
       info("/repo/info/lost.plist"), info("/repo/info/homeless.plist"),
       info("/repo/info/list.plist"), info("/repo/info/present.plist"), package("")},
      URL::parse(server.url("/repo")), folder.path(), run.progress(),
      run.completion([&] { loop.quit(); }));
  run.runToEnd(loop);

  EXPECT_THAT(run.summary(), Optional(Summary{4, 4, 1, 4, 0}));
  EXPECT_THAT(run.reports(), SizeIs(9));
  EXPECT_THAT(server.targets(),
              UnorderedElementsAre(
                  "/repo/info/direct.plist", "/files/direct.zip", "/gone/info/moved.plist",
                  "/repo/info/moved.plist", "/files/moved.zip", "/repo/info/mirrored.plist",
                  "/gone/packages/mirrored.zip", "/repo/packages/mirrored.zip",
                  "/repo/info/glued.plist", "/repo/packages/glued.zip", "/repo/info/lost.plist",
                  "/repo/packages/lost.zip", "/repo/info/homeless.plist", "/repo/info/list.plist"));
  EXPECT_THAT(
      log.messages(),
      UnorderedElementsAre(
          "info: Starting download queue: 9 package(s)",
          "success: Downloaded Installer 4 package: direct.zip",
          "success: Downloaded Installer 4 package: moved.zip",
          "success: Downloaded Installer 4 package: mirrored.zip",
          "success: Downloaded Installer 4 package: glued.zip",
          "error: Failed Installer 4 package: Could not download Installer package ZIP.",
          "error: Failed Installer 4 package: Installer package plist contains no location field.",
          "error: Failed Installer 4 package: Unknown error",
          "success: Skipped existing file: present.zip",
          "error: Failed Installer 4 package: Missing package info URL.",
          "info: Download queue finished. Downloaded: 4  Verified: 4  Failed: 4  "
          "Validation failed: 0  Skipped: 1"));
  EXPECT_THAT(folder.names(),
              ElementsAre("direct.zip", "glued.zip", "mirrored.zip", "moved.zip", "present.zip"));
  EXPECT_EQ(folder.read("mirrored.zip"), "PK mirrored");
}

}  // namespace
}  // namespace tolvane
