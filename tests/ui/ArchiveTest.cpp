// SPDX-License-Identifier: MIT
#include <QDir>
#include <QStandardPaths>
#include <nlohmann/json.hpp>

#include "archive_client/CentralArchiveClient.h"
#include "tests/support/CentralArchiveServer.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const ServedPackage kA{"a", "bytes of a"};
const ServedPackage kB{"b", "bytes of b, which are more"};
const ServedPackage kC{"c", "c"};
const ServedPackage kBad{"bad", "too short", "1000"};

constexpr const char* kCheck = "check_repo.php";
constexpr const char* kToken = "request_upload_token.php";
constexpr const char* kUpload = "upload_package.php";

std::string entry(const std::string& identifier, const std::string& version = "1") {
  return R"({"identifier":")" + identifier + R"(","version":")" + version + R"("})";
}

// A window with a repository and a central archive, each on a server of its own.
class Archive : public Workflow {
 protected:
  Archive() {
    controller.centralArchiveClient().setApiBaseURL(archive.baseURL());
    controller.centralArchiveClient().setApiSecret("a-secret");
  }
  ~Archive() override { QDir(toQString(cache)).removeRecursively(); }

  // What the archive says it lacks: JSON entries.
  void lacks(const std::vector<std::string>& entries) {
    std::string list;
    for (const std::string& one : entries) list += (list.empty() ? "" : ",") + one;
    archive.answer(kCheck, respond(200, R"({"ok":true,"missing_packages":[)" + list + "]}"));
  }

  void check() {
    press(c.checkArchiveButton);
    runUntil([&] { return status() != "Checking central archive..."; });
  }

  // From the click to the last line.
  void archiveAll() {
    check();
    answer(0);
    runUntil([&] { return status().starts_with("Archive complete."); });
  }

  std::vector<std::string> pages() const {
    std::vector<std::string> pages;
    for (const ArchiveRequest& request : archive.requests()) {
      EXPECT_EQ(request.fault, "");
      pages.push_back(request.sent.target.substr(request.sent.target.rfind('/') + 1));
    }
    return pages;
  }

  std::vector<std::string> cached() const {
    std::vector<std::string> names;
    for (const QString& name : QDir(toQString(cache)).entryList(QDir::Files, QDir::Name)) {
      names.push_back(toText(name));
    }
    return names;
  }

  void putIntoCache(const ServedPackage& package) const {
    QFile file(toQString(cache + "/" + package.filename()));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(package.bytes.data(), static_cast<qint64>(package.bytes.size()));
  }

  // The archive's lines of the system log that are not the client's.
  std::vector<std::string> workflowLines() const {
    auto lines = systemLines("[CentralArchive]");
    std::erase_if(lines, [](const std::string& line) {
      for (const char* clients :
           {"Check endpoint:", "Repository URL:", "Repository type:", "Package count:",
            "JSON body size:", "HTTP status:", "Response bytes:", "Missing package count",
            "Upload token HTTP status:", "Upload HTTP status:", "Upload response bytes:",
            "Uploading "}) {
        if (line.starts_with(std::string("[CentralArchive] ") + clients)) return true;
      }
      return false;
    });
    return lines;
  }

  CentralArchiveServer archive;
  const std::string cache = ViewController::centralArchiveTemporaryFolder();
};

TEST_F(Archive, IsToldFromTheFirstLineToTheLast) {
  loadRepository({kA});
  lacks({entry("a")});
  check();
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  ASSERT_EQ(sheets.shown.size(), 1u);
  EXPECT_EQ(sheets.shown[0].window, controller.window());
  EXPECT_EQ(sheets.shown[0].alert.messageText, "Packages missing from central archive");
  EXPECT_EQ(sheets.shown[0].alert.informativeText,
            "1 package(s) are not yet archived on the central server.\n\nDownload them locally and "
            "upload them to the central archive?");
  EXPECT_THAT(sheets.shown[0].alert.buttons, ElementsAre("Archive Missing Packages", "Cancel"));
  answer(0);
  runUntil([&] { return status().starts_with("Archive complete."); });
  const std::string bytes = std::to_string(archive.requests()[0].sent.body.size());
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAre(
          "info: Checking central archive...", "info: Checking central archive: 1 package(s)",
          "info: Central archive check request prepared (" + bytes + " bytes)",
          "info: Central archive check HTTP status: 200",
          "success: Central archive check complete. Missing package(s): 1",
          "info: 1 package(s) are not yet archived.",
          "info: Requesting central archive upload token...",
          "info: Requesting upload token for 1 package(s)", "success: Upload token received.",
          "success: Central archive upload token received.",
          "info: Central archive: 0 package(s) already cached locally.",
          "info: Downloading 1 package(s) for archival...",
          "info: Starting download queue: 1 package(s)", "info: Downloading: " + address(kA),
          "success: Verified a_1.deb", "success: Downloaded and verified: a_1.deb",
          "success: Archive download complete. Downloaded: 1  Failed: 0  "
          "Validation failed: 0",
          "info: Starting upload of 1 archived package(s).",
          "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
          "Validation failed: 0  Skipped: 0",
          "success: Uploaded a_1.deb", "success: Archive complete. Uploaded: 1  Failed: 0"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Checking central archive...", "1 package(s) are not yet archived.",
                          "Requesting central archive upload token...",
                          "Central archive upload token received.",
                          "Downloading 1 package(s) for archival...", "Archive download 1 / 1",
                          "Archive download complete. Downloaded: 1  Failed: 0  "
                          "Validation failed: 0",
                          "Uploading 1 / 1", "Archive complete. Uploaded: 1  Failed: 0"));
  EXPECT_THAT(workflowLines(),
              ElementsAre("[CentralArchive] Matched 1 PackageEntry objects for upload",
                          "[CentralArchive] 0 package(s) already exist in local archive cache",
                          "[CentralArchive] Archive download stage finished",
                          "[CentralArchive] Temporary folder: " + cache,
                          "[CentralArchive] Uploaded a_1.deb",
                          "[CentralArchive] Deleted temporary file " + cache + "/a_1.deb",
                          "[CentralArchive] Upload stage finished. Uploaded=1 Failed=0"));
  EXPECT_THAT(pages(), ElementsAre(kCheck, kToken, kUpload));
  EXPECT_EQ(archive.requests()[2].file, kA.bytes);
  EXPECT_THAT(cached(), IsEmpty());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 100);
  EXPECT_TRUE(sheets.shown.empty());
}

TEST_F(Archive, ThatFailsIsToldFromTheFirstLineToTheLast) {
  loadRepository({kBad});
  lacks({entry("bad")});
  archive.answer(kUpload, respond(200, R"({"ok":false,"error":"The disk is full."})"));
  archiveAll();
  const std::string mismatch = "Size mismatch for bad. Expected 1000 bytes, got 9 bytes.";
  const std::string bytes = std::to_string(archive.requests()[0].sent.body.size());
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAre(
          "info: Checking central archive...", "info: Checking central archive: 1 package(s)",
          "info: Central archive check request prepared (" + bytes + " bytes)",
          "info: Central archive check HTTP status: 200",
          "success: Central archive check complete. Missing package(s): 1",
          "info: 1 package(s) are not yet archived.",
          "info: Requesting central archive upload token...",
          "info: Requesting upload token for 1 package(s)", "success: Upload token received.",
          "success: Central archive upload token received.",
          "info: Central archive: 0 package(s) already cached locally.",
          "info: Downloading 1 package(s) for archival...",
          "info: Starting download queue: 1 package(s)", "info: Downloading: " + address(kBad),
          "error: " + mismatch, "error: Download failed: " + mismatch,
          "error: Archive download complete. Downloaded: 0  Failed: 1  Validation failed: 1",
          "info: Starting upload of 1 archived package(s).",
          "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 1  "
          "Validation failed: 1  Skipped: 0",
          "error: Upload failed bad_1.deb: The disk is full.",
          "error: Archive complete. Uploaded: 0  Failed: 1"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Checking central archive...", "1 package(s) are not yet archived.",
                          "Requesting central archive upload token...",
                          "Central archive upload token received.",
                          "Downloading 1 package(s) for archival...", "Archive download 1 / 1",
                          "Archive download complete. Downloaded: 0  Failed: 1  "
                          "Validation failed: 1",
                          "Uploading 1 / 1", "Archive complete. Uploaded: 0  Failed: 1"));
  EXPECT_THAT(workflowLines(),
              ElementsAre("[CentralArchive] Matched 1 PackageEntry objects for upload",
                          "[CentralArchive] 0 package(s) already exist in local archive cache",
                          "[CentralArchive] Archive download stage finished",
                          "[CentralArchive] Temporary folder: " + cache,
                          "[CentralArchive] Upload failed bad_1.deb error=Error "
                          "Domain=CentralArchiveClient Code=2004 \"The disk is full.\"",
                          "[CentralArchive] Upload stage finished. Uploaded=0 Failed=1"));
  EXPECT_THAT(cached(), ElementsAre("bad_1.deb"));
  EXPECT_TRUE(sheets.shown.empty());
}

TEST_F(Archive, OfThreeOfWhichOneIsUnknownUploadsTwoInTheOrderOfTheServer) {
  loadRepository({kA, kB, kC});
  lacks({entry("c"), entry("unknown"), entry("a")});
  check();
  EXPECT_EQ(status(), "3 package(s) are not yet archived.");
  EXPECT_EQ(sheets.shown[0].alert.informativeText.substr(0, 13), "3 package(s) ");
  answer(0);
  runUntil([&] { return status().starts_with("Archive complete."); });
  EXPECT_TRUE(consoleHas("info: Requesting upload token for 3 package(s)"));
  EXPECT_TRUE(consoleHas("info: Starting upload of 2 archived package(s)."));
  EXPECT_EQ(status(), "Archive complete. Uploaded: 2  Failed: 0");
  ASSERT_THAT(pages(), ElementsAre(kCheck, kToken, kUpload, kUpload));
  EXPECT_EQ(archive.requests()[1].json["package_count"], 3);
  EXPECT_EQ(archive.requests()[2].filename, "c_1.deb");
  EXPECT_EQ(archive.requests()[3].filename, "a_1.deb");
}

TEST_F(Archive, SendsTheWholeRepositoryWhateverIsTickedOrShown) {
  loadRepository({kA, kB});
  search("a");
  controller.packageCheckboxClicked(0, true);
  check();
  EXPECT_EQ(archive.requests()[0].json["packages"].size(), 2u);
  EXPECT_EQ(archive.requests()[0].json["repository_url"], repository());
}

TEST_F(Archive, WithNothingMissingSaysSo) {
  loadRepository({kA});
  check();
  EXPECT_THAT(statuses.texts,
              ElementsAre("Checking central archive...",
                          "All packages have already been archived on the centralised location."));
  EXPECT_EQ(newConsoleLines().back(),
            "success: All packages have already been archived on the centralised location.");
  EXPECT_TRUE(sheets.shown.empty());
  EXPECT_TRUE(c.progressIndicator->isHidden());
}

TEST_F(Archive, ShowsAMovingBarAndDisablesNothingWhileItAsks) {
  loadRepository({kA});
  Gate gate;
  archive.answer(kCheck, heldBy(gate, respond(200, R"({"ok":true})")));
  press(c.checkArchiveButton);
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_TRUE(c.progressIndicator->isIndeterminate());
  EXPECT_FALSE(c.progressIndicator->isHidden());
  gate.open();
  runUntil([&] { return c.progressIndicator->isHidden(); });
}

TEST_F(Archive, WhoseCheckFailsSaysWhyAndKeepsTheListOfBefore) {
  loadRepository({kA});
  lacks({entry("a")});
  check();
  answer(1);
  EXPECT_EQ(status(), "1 package(s) are not yet archived.");
  EXPECT_EQ(controller.lastMissingArchivePackages().size(), 1u);
  archive.answer(kCheck, respond(200, R"({"ok":false,"error":"Not today."})"));
  check();
  EXPECT_EQ(status(), "Not today.");
  EXPECT_EQ(newConsoleLines().back(), "error: Not today.");
  EXPECT_EQ(controller.lastMissingArchivePackages().size(), 1u);
  EXPECT_TRUE(c.progressIndicator->isHidden());
  archive.answer(kCheck, respond(200, R"({"ok":false,"error":""})"));
  check();
  EXPECT_EQ(status(), "Archive check failed.");
  // A check that succeeds replaces the list, by an empty one too.
  lacks({});
  check();
  EXPECT_TRUE(controller.lastMissingArchivePackages().empty());
}

TEST_F(Archive, ThatIsDeclinedDoesNothingElse) {
  loadRepository({kA});
  lacks({entry("a")});
  check();
  forgetTexts();
  answer(1);
  runFor(std::chrono::milliseconds(50));
  EXPECT_TRUE(newConsoleLines().empty());
  EXPECT_EQ(status(), "1 package(s) are not yet archived.");
  EXPECT_THAT(pages(), ElementsAre(kCheck));
}

TEST_F(Archive, WithoutARepositoryDoesNothingAtAll) {
  controller.checkCentralArchiveButtonClicked();
  controller.loadPackagesIntoUI(makePackages(1), std::nullopt);
  forgetTexts();
  controller.checkCentralArchiveButtonClicked();
  EXPECT_TRUE(newConsoleLines().empty());
  EXPECT_TRUE(statuses.texts.empty());
  EXPECT_TRUE(c.progressIndicator->isHidden());
}

TEST_F(Archive, WithoutAListOfMissingPackagesSaysThatThereAreNone) {
  loadRepository({kA});
  controller.startArchiveMissingPackagesWorkflow();
  EXPECT_THAT(newConsoleLines(), ElementsAre("success: No missing packages to archive."));
  EXPECT_EQ(status(), "No missing packages to archive.");
}

TEST_F(Archive, WithoutATokenEnds) {
  loadRepository({kA});
  lacks({entry("a")});
  struct Row {
    const char* body;
    const char* status;
  };
  for (const Row& row :
       {Row{R"({"ok":false,"error":"No tokens left."})", "No tokens left."},
        Row{R"({"ok":false,"error":""})", "Could not request central archive upload token."},
        Row{"[]", "Could not request central archive upload token."}}) {
    archive.answer(kToken, respond(200, row.body));
    check();
    answer(0);
    runUntil([&] {
      return status() != "Requesting central archive upload token..." &&
             !status().ends_with("archived.");
    });
    EXPECT_EQ(status(), row.status);
    EXPECT_EQ(consoleLines().back(), std::string("error: ") + row.status);
    EXPECT_TRUE(c.progressIndicator->isHidden());
    EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  }
  EXPECT_THAT(cached(), IsEmpty());
}

TEST_F(Archive, OfCachedPackagesSkipsTheDownloadsAndLeavesAllButtonsEnabled) {
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

TEST_F(Archive, OfNothingThatWeHaveIsAnError) {
  loadRepository({kA});
  lacks({entry("x"), entry("a", "2"), entry("A")});
  check();
  answer(0);
  runUntilStatus("No matching packages found to archive.");
  EXPECT_EQ(newConsoleLines().back(), "error: No matching packages found to archive.");
  EXPECT_TRUE(consoleHas("info: Central archive: 0 package(s) already cached locally."));
}

TEST_F(Archive, CountsWhatIsNoEntryAndMatchesItToNothing) {
  loadRepository({kA});
  lacks({"7", "null", R"("a")", R"(["a","1"])", R"({"identifier":1,"version":"1"})",
         R"({"identifier":"a","version":null})", R"({"identifier":"a"})", entry("a")});
  check();
  EXPECT_EQ(status(), "8 package(s) are not yet archived.");
  answer(0);
  runUntil([&] { return status().starts_with("Archive complete."); });
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 0");
}

TEST_F(Archive, OfAPackageNamedTwiceFindsItsFileGoneTheSecondTime) {
  loadRepository({kA});
  lacks({entry("a"), entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 1");
  EXPECT_TRUE(consoleHas("info: Starting upload of 2 archived package(s)."));
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: a_1.deb"));
  EXPECT_THAT(workflowLines(),
              Contains("[CentralArchive] Missing local file for upload: " + cache + "/a_1.deb"));
}

TEST_F(Archive, TakesTheFirstOfTwoPackagesOfOneNameAndVersion) {
  server.on("/repo/Packages", respond(200,
                                      "Package: a\nVersion: 1\nFilename: debs/first.deb\n\n"
                                      "Package: a\nVersion: 1\nFilename: debs/second.deb\n\n"));
  server.on("/repo/debs/first.deb", respond(200, "first"));
  fetch(repository());
  awaitFetch();
  lacks({entry("a")});
  archiveAll();
  EXPECT_EQ(archive.requests().back().file, "first");
}

TEST_F(Archive, MatchesAnAbsentVersionToAnEmptyOne) {
  server.on("/repo/Packages", respond(200, "Package: a\nFilename: debs/a.deb\n\n"));
  server.on("/repo/debs/a.deb", respond(200, "a"));
  fetch(repository());
  awaitFetch();
  lacks({R"({"identifier":"a"})"});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 1  Failed: 0");
}

TEST_F(Archive, UploadsNextTimeWhatFailedWithoutDownloadingItAgain) {
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

TEST_F(Archive, WhoseDownloadsFailGoesOnToTheUploads) {
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

TEST_F(Archive, MovesTheBarForUploadsOnlyAndNotForAMissingFile) {
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

TEST_F(Archive, WhoseUploadFailsWithoutADescriptionSaysUnknownError) {
  loadRepository({kA});
  putIntoCache(kA);
  lacks({entry("a")});
  archive.answer(kUpload, respond(200, R"({"ok":false,"error":""})"));
  archiveAll();
  EXPECT_TRUE(consoleHas("error: Upload failed a_1.deb: Unknown error"));
}

TEST_F(Archive, ShowsAMovingBarWhileItWaitsForTheToken) {
  loadRepository({kA});
  lacks({entry("a")});
  Gate gate;
  archive.answer(kToken, heldBy(gate, respond(200, R"({"ok":false})")));
  check();
  EXPECT_TRUE(c.progressIndicator->isHidden());
  answer(0);
  EXPECT_TRUE(c.progressIndicator->isIndeterminate());
  EXPECT_FALSE(c.progressIndicator->isHidden());
  gate.open();
  runUntil([&] { return c.progressIndicator->isHidden(); });
}

TEST_F(Archive, WhoseCacheCannotBeMadeFailsEachPackage) {
  QDir(toQString(cache)).removeRecursively();
  QFile obstacle(toQString(cache));
  ASSERT_TRUE(obstacle.open(QIODevice::WriteOnly));
  loadRepository({kA});
  lacks({entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 1");
  EXPECT_TRUE(obstacle.remove());
}

TEST_F(Archive, DeletesAFileOnlyAfterItsUploadSucceeded) {
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

TEST_F(Archive, NeedsNoFileThatCanBeDeletedToCountItsUpload) {
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

TEST_F(Archive, NeverUploadsWhatANameOutsideOfTheCacheNames) {
  server.on("/repo/Packages", respond(200, "Package: a\nVersion: 1\nFilename: debs/..\n\n"));
  fetch(repository());
  awaitFetch();
  lacks({entry("a")});
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 1");
  EXPECT_THAT(pages(), ElementsAre(kCheck, kToken));
  EXPECT_TRUE(consoleHas("error: Missing local file for upload: .."));
}

TEST_F(Archive, DownloadsOneStepAtATimeAndGivesTheWidthBack) {
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

TEST_F(Archive, CancelledAfterEveryStepHasStartedGoesOnToTheUploads) {
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

TEST_F(Archive, CancelledRightAfterTheStartStaysAsItWas) {
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

TEST_F(Archive, SaysByTheChosenTypeWhatKindOfRepositoryItIs) {
  loadRepository({kA});
  const std::pair<const char*, const char*> types[] = {{"Installer 4", "Installer4"},
                                                       {"Installer 3", "Installer3"},
                                                       {"Auto-detect", "APT"},
                                                       {"Cydia / APT", "APT"},
                                                       {"", "APT"}};
  lacks({entry("a")});
  for (const auto& [title, type] : types) {
    c.repositoryTypePopup->setCurrentIndex(c.repositoryTypePopup->findText(title));
    const auto before = archive.requests().size();
    archiveAll();
    const auto requests = archive.requests();
    ASSERT_EQ(requests.size(), before + 3);
    EXPECT_EQ(requests[before].json["repository_type"], type);
    EXPECT_EQ(requests[before + 1].json["repository_type"], type);
    EXPECT_EQ(requests[before + 2].fields[1],
              std::pair(std::string("repository_type"), std::string(type)));
  }
}

TEST_F(Archive, WorksOutTheTypeAfreshForEachUpload) {
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

TEST_F(Archive, OfAServerThatAnswersNonsenseEndsWithAnError) {
  loadRepository({kA});
  archive.answer(kCheck, respond(200, "<html>"));
  check();
  EXPECT_THAT(newConsoleLines().back(), testing::StartsWith("error: "));
  EXPECT_EQ(newConsoleLines().back(), "error: " + status());
  archive.answer(kCheck, hangUp());
  check();
  EXPECT_EQ(status(), "The network connection was lost.");
  archive.answer(kCheck, respond(200, "[]"));  // an answer without a list
  check();
  EXPECT_EQ(status(), "All packages have already been archived on the centralised location.");
}

TEST_F(Archive, ThatEndsAfterItsWindowIsForgotten) {
  Gate gate;
  archive.answer(kCheck, heldBy(gate, respond(200, R"({"ok":true})")));
  {
    ViewController other(queue, sheets);
    other.centralArchiveClient().setApiBaseURL(archive.baseURL());
    other.loadPackagesIntoUI(makePackages(1), URL::parse(repository()));
    other.checkCentralArchiveButtonClicked();
    runUntil([&] { return archive.requests().size() == 1; });
  }
  gate.open();
  runUntil([&] { return consoleHas("info: Central archive check HTTP status: 200"); });
  runFor(std::chrono::milliseconds(20));
  EXPECT_EQ(status(), "Enter a repository URL.");
}

TEST(CentralArchiveTemporaryFolder, StandsInTheUsersCacheAndIsMadeWhereItIsNot) {
  const std::string folder = ViewController::centralArchiveTemporaryFolder();
  EXPECT_EQ(folder, toText(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation)) +
                        "/Tolvane/CentralArchiveUploads");
  EXPECT_TRUE(QDir(toQString(folder)).removeRecursively());
  ViewController::centralArchiveTemporaryFolder();
  EXPECT_TRUE(QDir(toQString(folder)).exists());
}

}  // namespace
}  // namespace tolvane
