// SPDX-License-Identifier: MIT
#include "tests/ui/support/ArchiveWindow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Archive = ArchiveWindow;

TEST_F(Archive, WritesAllItsLinesInOrder) {
  loadRepository({kA});
  lacks({entry("a")});
  check();
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].window, controller.window());
  EXPECT_EQ(dialogs.shown[0].alert.messageText, "Packages missing from central archive");
  EXPECT_EQ(dialogs.shown[0].alert.informativeText,
            "1 package(s) are not yet archived on the central server.\n\nDownload them locally and "
            "upload them to the central archive?");
  EXPECT_THAT(dialogs.shown[0].alert.buttons, ElementsAre("Archive Missing Packages", "Cancel"));
  answer(0);
  runUntil([&] { return status().starts_with("Archive complete."); });
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAreArray(linesOf(
          kA, {"success: Verified a_1.deb", "success: Downloaded and verified: a_1.deb",
               "success: Archive download complete. Downloaded: 1  Failed: 0  "
               "Validation failed: 0",
               "info: Starting upload of 1 archived package(s).",
               "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
               "Validation failed: 0  Skipped: 0",
               "success: Uploaded a_1.deb", "success: Archive complete. Uploaded: 1  Failed: 0"})));
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
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(Archive, ThatFailsWritesAllItsLinesInOrder) {
  loadRepository({kBad});
  lacks({entry("bad")});
  archive.answer(kUpload, respond(200, R"({"ok":false,"error":"The disk is full."})"));
  archiveAll();
  const std::string mismatch = "Size mismatch for bad. Expected 1000 bytes, got 9 bytes.";
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAreArray(linesOf(
          kBad, {"error: " + mismatch, "error: Download failed: " + mismatch,
                 "error: Archive download complete. Downloaded: 0  Failed: 1  Validation failed: 1",
                 "info: Starting upload of 1 archived package(s).",
                 "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 1  "
                 "Validation failed: 1  Skipped: 0",
                 "error: Upload failed bad_1.deb: The disk is full.",
                 "error: Archive complete. Uploaded: 0  Failed: 1"})));
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
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(Archive, OfThreeOfWhichOneIsUnknownUploadsTwoInTheOrderOfTheServer) {
  loadRepository({kA, kB, kC});
  lacks({entry("c"), entry("unknown"), entry("a")});
  check();
  EXPECT_EQ(status(), "3 package(s) are not yet archived.");
  EXPECT_EQ(dialogs.shown[0].alert.informativeText.substr(0, 13), "3 package(s) ");
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

TEST_F(Archive, WithNothingMissingReportsIt) {
  loadRepository({kA});
  check();
  EXPECT_THAT(statuses.texts,
              ElementsAre("Checking central archive...",
                          "All packages have already been archived on the centralised location."));
  EXPECT_EQ(newConsoleLines().back(),
            "success: All packages have already been archived on the centralised location.");
  EXPECT_TRUE(dialogs.shown.empty());
  EXPECT_TRUE(c.progressIndicator->isHidden());
}

TEST_F(Archive, ShowsAMovingBarAndDisablesNothingWhileItAsks) {
  loadRepository({kA});
  Gate gate;
  archive.answer(kCheck, heldBy(gate, respond(200, R"({"ok":true})")));
  press(c.checkArchiveButton);
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_TRUE(barMoves());
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

TEST_F(Archive, KeepsItsListWhenAFetchFailsAndClearsTheWindow) {
  loadRepository({kA});
  lacks({entry("a")});
  check();
  answer(1);
  fetch(server.url("/nothing/"));
  awaitFetch();
  ASSERT_EQ(status(), "No Cydia/APT Packages file found.");
  ASSERT_TRUE(controller.allPackages().empty());
  EXPECT_THAT(controller.lastMissingArchivePackages().entries(),
              ElementsAre(nlohmann::json::parse(entry("a"))));
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

TEST_F(Archive, OfPackagesThatAreNotInTheRepositoryIsAnError) {
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

TEST_F(Archive, ShowsAMovingBarWhileItWaitsForTheToken) {
  loadRepository({kA});
  lacks({entry("a")});
  Gate gate;
  archive.answer(kToken, heldBy(gate, respond(200, R"({"ok":false})")));
  check();
  EXPECT_TRUE(c.progressIndicator->isHidden());
  answer(0);
  EXPECT_TRUE(barMoves());
  gate.open();
  runUntil([&] { return c.progressIndicator->isHidden(); });
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
    ViewController other(queue, dialogs);
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

}  // namespace
}  // namespace tolvane
