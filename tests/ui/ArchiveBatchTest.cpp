// SPDX-License-Identifier: MIT
#include "tests/ui/support/ArchiveWindow.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

using ArchiveBatch = ArchiveWindow;

// A second repository next to that of loadRepository(); the archive lacks its one package too.
std::string serveOtherRepository(LoopbackServer& server) {
  server.on("/other/Packages",
            respond(200, "Package: b\nVersion: 1\nName: Another b\nFilename: pool/b_1.deb\n\n"));
  return server.url("/other/");
}

TEST_F(ArchiveBatch, DownloadsOnlyWhatIsNotCachedAndUploadsAllInTheOrderOfTheServer) {
  loadRepository({kA, kB});
  putIntoCache(kA);
  lacks({entry("b"), entry("a")});
  archiveAll();
  EXPECT_THAT(consoleLinesAfter("success: Central archive upload token received."),
              ElementsAre("success: Central archive: 1 package(s) already cached locally.",
                          "info: Downloading 1 package(s) for archival...",
                          "info: Starting download queue: 1 package(s)",
                          "info: Downloading: " + address(kB), "success: Verified b_1.deb",
                          "success: Downloaded and verified: b_1.deb",
                          "success: Archive download complete. Downloaded: 1  Failed: 0  "
                          "Validation failed: 0",
                          "info: Starting upload of 2 archived package(s).",
                          "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                          "Validation failed: 0  Skipped: 0",
                          "success: Uploaded b_1.deb", "success: Uploaded a_1.deb",
                          "success: Archive complete. Uploaded: 2  Failed: 0"));
  ASSERT_EQ(uploads().size(), 2u);
  EXPECT_EQ(uploads()[0].file, kB.bytes);
  EXPECT_EQ(uploads()[1].file, kA.bytes);
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(ArchiveBatch, SendsWithEachFileTheRecordOfItsOwnPackage) {
  server.on("/repo/Packages",
            respond(200,
                    "Package: org.a\nVersion: 1.0\nName: Alpha\nFilename: debs/alpha.deb\nSize: 5"
                    "\n\nPackage: org.b\nVersion: 2.0\nName: Beta\nFilename: debs/beta.deb\n"
                    "Size: 4\n\n"));
  server.on("/repo/debs/alpha.deb", respond(200, "alpha"));
  server.on("/repo/debs/beta.deb", respond(200, "beta"));
  fetch(repository());
  awaitFetch();
  lacks({entry("org.a", "1.0"), entry("org.b", "2.0")});
  archiveAll();
  ASSERT_EQ(uploads().size(), 2u);
  EXPECT_THAT(uploads()[0].fields,
              ElementsAre(Pair("repository_url", repository()), Pair("repository_type", "APT"),
                          Pair("identifier", "org.a"), Pair("version", "1.0"),
                          Pair("name", "Alpha"), Pair("filename", "alpha.deb"), Pair("size", "5"),
                          Pair("original_url", "debs/alpha.deb")));
  EXPECT_EQ(uploads()[0].filename, "alpha.deb");
  EXPECT_EQ(uploads()[0].file, "alpha");
  EXPECT_THAT(uploads()[1].fields,
              ElementsAre(Pair("repository_url", repository()), Pair("repository_type", "APT"),
                          Pair("identifier", "org.b"), Pair("version", "2.0"), Pair("name", "Beta"),
                          Pair("filename", "beta.deb"), Pair("size", "4"),
                          Pair("original_url", "debs/beta.deb")));
  EXPECT_EQ(uploads()[1].filename, "beta.deb");
  EXPECT_EQ(uploads()[1].file, "beta");
}

TEST_F(ArchiveBatch, NamesTheRepositoryToTheTokenRequestAndAfreshToEachUpload) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  Gate gate;
  archive.answer(kUpload, inTurn({heldBy(gate, respond(200, kUploaded)), respond(200, kUploaded)}));
  archiveUntilStatus("Uploading 1 / 2");
  const std::string other = serveOtherRepository(server);
  fetch(other);
  runUntilStatus("Found 1 packages.");
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 2  Failed: 0");
  ASSERT_THAT(pages(), ElementsAre(kCheck, kToken, kUpload, kUpload));
  EXPECT_EQ(archive.requests()[1].json["repository_url"], repository());
  EXPECT_THAT(uploads()[0].fields[0], Pair("repository_url", repository()));
  EXPECT_THAT(uploads()[1].fields[0], Pair("repository_url", other));
  EXPECT_EQ(uploads()[1].file, kB.bytes);
}

TEST_F(ArchiveBatch, UploadsWhatTheListAfterTheDownloadsMatches) {
  loadRepository({kA, kB});
  lacks({entry("a"), entry("b")});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  archiveUntilStatus("Archive download 1 / 2");
  const std::string other = serveOtherRepository(server);
  enterURL(other);
  // The button is disabled by now, and the Return key is not.
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  runUntilStatus("Found 1 packages.");
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
  EXPECT_TRUE(consoleHas("info: Starting upload of 1 archived package(s)."));
  ASSERT_EQ(uploads().size(), 1u);
  EXPECT_THAT(uploads()[0].fields,
              ElementsAre(Pair("repository_url", other), Pair("repository_type", "APT"),
                          Pair("identifier", "b"), Pair("version", "1"), Pair("name", "Another b"),
                          Pair("filename", "b_1.deb"), Pair("size", ""),
                          Pair("original_url", "pool/b_1.deb")));
  EXPECT_EQ(uploads()[0].file, kB.bytes);
  EXPECT_THAT(cached(), ElementsAre("a_1.deb"));
}

TEST_F(ArchiveBatch, EnablesAfterTheDownloadsWhatTheListsOfThatMomentAllow) {
  loadRepository({kA});
  lacks({entry("a")});
  Gate first;
  Gate second;
  server.on("/repo/debs/a_1.deb", inTurn({heldBy(first, respond(200, kA.bytes)),
                                          heldBy(second, respond(200, kA.bytes))}));
  archiveUntilStatus("Downloading 1 package(s) for archival...");
  search("what no package has");
  first.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Missing", "Archive"));
  archiveUntilStatus("Downloading 1 package(s) for archival...");
  controller.clearRepositoryStateWithStatus("Cleared.");
  second.open();
  runUntilStatus("Archive complete. Uploaded: 0  Failed: 0");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch"));
}

TEST_F(ArchiveBatch, HidesItsBarThreeSecondsAfterTheLastUpload) {
  loadRepository({kA});
  putIntoCache(kA);
  lacks({entry("a")});
  archiveAll();
  QElapsedTimer timer;
  timer.start();
  EXPECT_FALSE(c.progressIndicator->isHidden());
  runUntil([&] { return c.progressIndicator->isHidden(); });
  EXPECT_GE(timer.elapsed(), 2800);
  EXPECT_LE(timer.elapsed(), 6000);
}

TEST_F(ArchiveBatch, OfWhichEveryFileIsMissingEndsWithAFullBarAllTheSame) {
  loadRepository({kA, kB});
  EXPECT_TRUE(c.progressIndicator->isHidden());
  controller.uploadArchivedPackages(
      {std::make_shared<const ViewController::PackageList>(controller.allPackages()), cache});
  EXPECT_THAT(newConsoleLines(), ElementsAre("error: Missing local file for upload: a_1.deb",
                                             "error: Missing local file for upload: b_1.deb",
                                             "error: Archive complete. Uploaded: 0  Failed: 2"));
  EXPECT_THAT(statuses.texts, ElementsAre("Archive complete. Uploaded: 0  Failed: 2"));
  EXPECT_FALSE(c.progressIndicator->isHidden());
  EXPECT_FALSE(c.progressIndicator->isIndeterminate());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 100);
}

// An answer that has been read waits for the main thread before the window shows any of it.

TEST_F(ArchiveBatch, TouchesTheWindowWithTheAnswerToACheckOnTheMainThreadOnly) {
  loadRepository({kA});
  lacks({entry("a")});
  press(c.checkArchiveButton);
  standStillUntil("success: Central archive check complete. Missing package(s): 1");
  EXPECT_THAT(statuses.texts, ElementsAre("Checking central archive..."));
  EXPECT_THAT(newConsoleLines(), ElementsAre("info: Checking central archive..."));
  EXPECT_TRUE(barMoves());
  EXPECT_TRUE(dialogs.shown.empty());
  runUntilStatus("1 package(s) are not yet archived.");
  EXPECT_EQ(newConsoleLines().back(), "info: 1 package(s) are not yet archived.");
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_EQ(dialogs.shown.size(), 1u);
}

TEST_F(ArchiveBatch, TouchesTheWindowWithTheTokenOnTheMainThreadOnly) {
  loadRepository({kA});
  lacks({entry("a")});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  check();
  forgetTexts();
  answer(0);
  standStillUntil("success: Upload token received.");
  EXPECT_THAT(statuses.texts, ElementsAre("Requesting central archive upload token..."));
  EXPECT_THAT(newConsoleLines(), ElementsAre("info: Requesting central archive upload token..."));
  EXPECT_TRUE(barMoves());
  runUntilStatus("Downloading 1 package(s) for archival...");
  EXPECT_THAT(statuses.texts, Contains("Central archive upload token received."));
  EXPECT_TRUE(consoleHas("success: Central archive upload token received."));
  EXPECT_FALSE(c.progressIndicator->isIndeterminate());
  gate.open();
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
}

TEST_F(ArchiveBatch, TouchesTheWindowWithTheAnswerToAnUploadOnTheMainThreadOnly) {
  loadRepository({kA});
  putIntoCache(kA);
  lacks({entry("a")});
  Gate gate;
  archive.answer(kUpload, heldBy(gate, respond(200, kUploaded)));
  archiveUntilStatus("Uploading 1 / 1");
  forgetTexts();
  gate.open();
  standStillUntil("[CentralArchive] Upload response bytes: 11");
  EXPECT_EQ(status(), "Uploading 1 / 1");
  EXPECT_THAT(newConsoleLines(), IsEmpty());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
  EXPECT_THAT(cached(), ElementsAre("a_1.deb"));
  runUntilStatus("Archive complete. Uploaded: 1  Failed: 0");
  EXPECT_THAT(newConsoleLines(), ElementsAre("success: Uploaded a_1.deb",
                                             "success: Archive complete. Uploaded: 1  Failed: 0"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 100);
  EXPECT_THAT(cached(), IsEmpty());
}

}  // namespace
}  // namespace tolvane
