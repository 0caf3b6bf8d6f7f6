// SPDX-License-Identifier: MIT
#include <QStandardPaths>

#include "tests/ui/support/ArchiveWindow.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using ArchiveUpload = ArchiveWindow;

TEST_F(ArchiveUpload, OfCachedPackagesSkipsTheDownloadsAndLeavesAllButtonsEnabled) {
  loadRepository({kA, kB});
  putIntoCache(kA);
  putIntoCache(kB);
  lacks({entry("a"), entry("b")});
  Gate gate;
  archive.answer(kUpload, heldBy(gate, respond(200, R"({"ok":true})")));
  check();
  answer(0);
  runUntilStatus("Uploading 1 / 2");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
  EXPECT_FALSE(c.progressIndicator->isHidden());
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 2  Failed: 0");
  EXPECT_THAT(statuses.texts,
              Contains("All missing packages already exist in the local archive cache. Starting "
                       "upload stage..."));
  EXPECT_TRUE(consoleHas("success: Central archive: 2 package(s) already cached locally."));
  EXPECT_TRUE(
      consoleHas("success: All missing packages already exist in the local archive cache. "
                 "Starting upload stage..."));
  EXPECT_FALSE(consoleHas("info: Starting download queue: 0 package(s)"));
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveUpload, OfAPackageNamedTwiceFindsNoFileTheSecondTime) {
  loadRepository({kA});
  lacks({entry("a"), entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 1");
  EXPECT_TRUE(consoleHas("info: Starting upload of 2 archived package(s)."));
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: a_1.deb"));
  EXPECT_THAT(workflowLines(),
              Contains("[CentralArchive] Missing local file for upload: " + cache + "/a_1.deb"));
}

TEST_F(ArchiveUpload, UploadsNextTimeWhatFailedWithoutDownloadingItAgain) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  archive.answer(kUpload, respond(500, ""));
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 2");
  EXPECT_THAT(cached(), ElementsAre("a_1.deb", "b_1.deb"));
  archive.answer(kUpload, respond(200, R"({"ok":true})"));
  forgetTexts();
  const auto requests = server.targets().size();
  archiveAll();
  EXPECT_TRUE(consoleHas("success: Central archive: 2 package(s) already cached locally."));
  EXPECT_EQ(server.targets().size(), requests);
  EXPECT_EQ(status(), "Archive complete. Uploaded: 2  Failed: 0");
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveUpload, WhoseDownloadsFailContinuesWithTheUploads) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  server.on("/repo/debs/a_1.deb", hangUp());
  archiveAll();
  EXPECT_TRUE(
      consoleHas("error: Archive download complete. Downloaded: 1  Failed: 1  "
                 "Validation failed: 0"));
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: a_1.deb"));
  // The first package had nothing to upload, so that no upload was the first.
  EXPECT_FALSE(consoleHas("info: Starting upload of 2 archived package(s)."));
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 1");
}

TEST_F(ArchiveUpload, MovesTheBarForUploadsOnlyAndNotForAMissingFile) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  server.on("/repo/debs/a_1.deb", hangUp());
  Gate gate;
  archive.answer(kUpload, heldBy(gate, respond(200, R"({"ok":true})")));
  check();
  answer(0);
  runUntilStatus("Uploading 2 / 2");
  EXPECT_THAT(statuses.texts, Not(Contains("Uploading 1 / 2")));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 50);
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 1");
}

TEST_F(ArchiveUpload, WhoseUploadFailsWithoutADescriptionSaysUnknownError) {
  loadRepository({kA});
  putIntoCache(kA);
  lacks({entry("a")});
  archive.answer(kUpload, respond(200, R"({"ok":false,"error":""})"));
  archiveAll();
  EXPECT_TRUE(consoleHas("error: Upload failed a_1.deb: Unknown error"));
}

TEST_F(ArchiveUpload, WhoseCacheCannotBeMadeFailsEachPackage) {
  QDir(toQString(cache)).removeRecursively();
  QFile obstacle(toQString(cache));
  ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
  loadRepository({kA});
  lacks({entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 1");
  EXPECT_TRUE(obstacle.remove());
}

TEST_F(ArchiveUpload, DeletesAFileOnlyAfterItsUploadSucceeded) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  Gate gate;
  archive.answer(kUpload, inTurn({respond(200, R"({"ok":true})"),
                                  heldBy(gate, respond(200, R"({"ok":true})"))}));
  check();
  answer(0);
  runUntilStatus("Uploading 2 / 2");
  EXPECT_THAT(cached(), ElementsAre("b_1.deb"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 50);
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 2  Failed: 0");
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveUpload, NeedsNoFileThatCanBeDeletedToCountItsUpload) {
  loadRepository({kA});
  putIntoCache(kA);
  lacks({entry("a")});
  archive.answer(kUpload, [&](const LoopbackRequest& request, LoopbackConnection& connection) {
    QFile::remove(toQString(cache + "/a_1.deb"));
    respond(200, R"({"ok":true})")(request, connection);
  });
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 0");
  EXPECT_THAT(workflowLines(),
              Contains("[CentralArchive] Could not delete temporary file " + cache +
                       "/a_1.deb error=Error Domain=NSPOSIXErrorDomain Code=2 \"No such file or "
                       "directory\""));
}

TEST_F(ArchiveUpload, NeverUploadsWhatANameOutsideOfTheCacheNames) {
  server.on("/repo/Packages", respond(200, "Package: a\nVersion: 1\nFilename: debs/..\n\n"));
  fetch(repository());
  awaitFetch();
  lacks({entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 1");
  EXPECT_THAT(pages(), ElementsAre(kCheck, kToken));
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: .."));
}

TEST_F(ArchiveUpload, DownloadsOneStepAtATimeAndGivesTheWidthBack) {
  loadRepository({kA, kB});
  controller.queueManager().setMaxConcurrentDownloads(7);
  lacks({entry("a"), entry("b")});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  check();
  answer(0);
  runUntilStatus("Archive download 1 / 2");
  EXPECT_EQ(controller.queueManager().maxConcurrentDownloads(), 1);
  EXPECT_THAT(enabledButtons(), ElementsAre("Cancel"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 50);
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 2  Failed: 0");
  EXPECT_EQ(controller.queueManager().maxConcurrentDownloads(), 7);
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(ArchiveUpload, CancelledAfterEveryStepHasStartedContinuesWithTheUploads) {
  loadRepository({kA});
  lacks({entry("a")});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  check();
  answer(0);
  runUntil([&] { return server.requestsInFlight() == 1; });
  press(c.cancelDownloadsButton);
  EXPECT_EQ(status(), "Cancelling downloads...");
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
}

TEST_F(ArchiveUpload, CancelledRightAfterTheStartStaysAsItWas) {
  std::vector<ServedPackage> packages;
  std::vector<std::string> entries;
  for (int i = 0; i < 20; ++i) {
    packages.push_back({"p" + std::to_string(i), "x"});
    entries.push_back(entry(packages.back().name));
  }
  loadRepository(packages);
  lacks(entries);
  check();
  {
    const HeldSteps held;
    answer(0);
    runUntil([&] { return c.cancelDownloadsButton->isEnabled(); });
    press(c.cancelDownloadsButton);
  }
  runFor(std::chrono::milliseconds(500));
  EXPECT_EQ(controller.queueManager().maxConcurrentDownloads(), 1);
  EXPECT_THAT(enabledButtons(), IsEmpty());
  EXPECT_THAT(pages(), ElementsAre(kCheck, kToken));
}

TEST_F(ArchiveUpload, WorksOutTheTypeAfreshForEachUpload) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  Gate gate;
  archive.answer(kUpload, inTurn({heldBy(gate, respond(200, R"({"ok":true})")),
                                  respond(200, R"({"ok":true})")}));
  check();
  answer(0);
  runUntilStatus("Uploading 1 / 2");
  choose("Installer 4");
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 2  Failed: 0");
  EXPECT_EQ(archive.requests()[2].fields[1].second, "APT");
  EXPECT_EQ(archive.requests()[3].fields[1].second, "Installer4");
}

TEST(CentralArchiveTemporaryFolder, IsInTheUsersCacheAndIsCreatedWhereItDoesNotExist) {
  const std::string folder = ViewController::centralArchiveTemporaryFolder();
  EXPECT_EQ(folder, toText(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)) +
                        "/Tolvane/CentralArchiveUploads");
  EXPECT_TRUE(QDir(toQString(folder)).removeRecursively());
  ViewController::centralArchiveTemporaryFolder();
  EXPECT_TRUE(QDir(toQString(folder)).exists());
}

}  // namespace
}  // namespace tolvane
