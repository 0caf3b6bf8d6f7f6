// SPDX-License-Identifier: MIT
#include <QDir>

#include "tests/ui/support/EventTime.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DownloadSelected : public Workflow {
 protected:
  void tick(std::initializer_list<int> rows) {
    for (const int row : rows) controller.packageCheckboxClicked(row, true);
  }

  void runInto(const std::string& path) {
    press(c.downloadSelectedButton);
    chooseFolder(path);
    runUntil([&] { return c.fetchButton->isEnabled(); });
  }

  // A run of one package, in the middle of which something happens.
  void runAround(const std::function<void()>& meanwhile) {
    loadRepository({kA});
    tick({0});
    Gate gate;
    server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
    press(c.downloadSelectedButton);
    chooseFolder(folder.path());
    meanwhile();
    gate.open();
    runUntil([&] { return !c.cancelDownloadsButton->isEnabled(); });
  }
};

TEST_F(DownloadSelected, WritesAllItsLinesInOrder) {
  loadRepository({kA});
  tick({0});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  press(c.downloadSelectedButton);
  ASSERT_EQ(dialogs.panels.size(), 1u);
  EXPECT_EQ(dialogs.panels[0].panel.prompt, "Download Here");
  EXPECT_EQ(dialogs.panels[0].panel.message, "Choose where 1 selected .deb files should be saved.");
  EXPECT_EQ(dialogs.panels[0].window, controller.window());
  chooseFolder(folder.path());
  EXPECT_EQ(status(), "Starting 1 downloads...");
  EXPECT_FALSE(c.progressIndicator->isHidden());
  EXPECT_FALSE(c.progressIndicator->isIndeterminate());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
  EXPECT_THAT(enabledButtons(), ElementsAre("Archive", "Cancel"));
  gate.open();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAre("info: Preparing to download 1 selected package(s).",
                  "info: Starting 1 downloads...", "info: Starting download queue: 1 package(s)",
                  "info: Downloading: " + address(kA), "success: Verified a_1.deb",
                  "success: Downloaded and verified: a_1.deb",
                  "success: Finished. Downloaded: 1  Verified: 1  Failed: 0  "
                  "Validation failed: 0  Skipped: 0",
                  "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                  "Validation failed: 0  Skipped: 0"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Starting 1 downloads...",
                          "Downloading 1 / 1   Verified: 1   Failed: 0   Validation failed: 0   "
                          "Skipped: 0",
                          "Finished. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
                          "Skipped: 0"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_FALSE(c.progressIndicator->isHidden());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 100);
  EXPECT_EQ(folder.read("a_1.deb"), kA.bytes);
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(DownloadSelected, ThatFailsWritesAllItsLinesInOrder) {
  loadRepository({kBad});
  tick({0});
  runInto(folder.path());
  const std::string mismatch = "Size mismatch for bad. Expected 1000 bytes, got 9 bytes.";
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAre("info: Preparing to download 1 selected package(s).",
                  "info: Starting 1 downloads...", "info: Starting download queue: 1 package(s)",
                  "info: Downloading: " + address(kBad), "error: " + mismatch,
                  "error: Download failed: " + mismatch,
                  "error: Finished. Downloaded: 0  Verified: 0  Failed: 1  "
                  "Validation failed: 1  Skipped: 0",
                  "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 1  "
                  "Validation failed: 1  Skipped: 0"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Starting 1 downloads...",
                          "Downloading 1 / 1   Verified: 0   Failed: 1   Validation failed: 1   "
                          "Skipped: 0",
                          "Finished. Downloaded: 0  Verified: 0  Failed: 1  Validation failed: 1  "
                          "Skipped: 0"));
  expectNotice("Download completed with errors",
               "Downloaded: 0\nVerified: 0\nFailed: 1\nValidation failed: 1\nSkipped: 0");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 100);
  forgetTexts();
  answer(0);
  EXPECT_TRUE(newConsoleLines().empty());
}

TEST_F(DownloadSelected, CountsAFileOfTheWrongSizeAsFailedTwiceAndALostOneOnce) {
  loadRepository({kA, kBad, kC});
  server.on("/repo/debs/c_1.deb", hangUp());
  tick({0, 1, 2});
  runInto(folder.path());
  EXPECT_EQ(status(),
            "Finished. Downloaded: 1  Verified: 1  Failed: 2  Validation failed: 1  Skipped: 0");
  expectNotice("Download completed with errors",
               "Downloaded: 1\nVerified: 1\nFailed: 2\nValidation failed: 1\nSkipped: 0");
}

TEST_F(DownloadSelected, CountsAnErrorsPageInPlaceOfAPackageAsOneOfTheWrongSize) {
  loadRepository({kA, kB});
  server.on("/repo/debs/b_1.deb", respond(404, "not here"));
  tick({0, 1});
  runInto(folder.path());
  EXPECT_EQ(status(),
            "Finished. Downloaded: 1  Verified: 1  Failed: 1  Validation failed: 1  Skipped: 0");
}

// What is downloaded is verified too, so that these two are always the same.
TEST_F(DownloadSelected, KeepsItsCountersApart) {
  std::vector<ServedPackage> packages = {kBad};
  for (int i = 1; i <= 8; ++i) packages.push_back({"p" + std::to_string(i), "bytes"});
  loadRepository(packages);
  server.on("/repo/debs/p1_1.deb", hangUp());
  for (const char* name : {"p2_1.deb", "p3_1.deb", "p4_1.deb"}) folder.write(name, "whatever");
  tick({0, 1, 2, 3, 4, 5, 6, 7, 8});
  runInto(folder.path());
  EXPECT_THAT(statuses.texts, testing::Contains("Downloading 9 / 9   Verified: 4   Failed: 2   "
                                                "Validation failed: 1   Skipped: 3"));
  EXPECT_EQ(status(),
            "Finished. Downloaded: 4  Verified: 4  Failed: 2  Validation failed: 1  Skipped: 3");
  expectNotice("Download completed with errors",
               "Downloaded: 4\nVerified: 4\nFailed: 2\nValidation failed: 1\nSkipped: 3");
}

TEST_F(DownloadSelected, TakesTheTickedOnesAndNotTheHighlightedRow) {
  loadRepository({kA, kB, kC});
  show();
  tick({0, 2});
  click(1, "displayName");
  press(c.downloadSelectedButton);
  EXPECT_EQ(dialogs.panels[0].panel.message, "Choose where 2 selected .deb files should be saved.");
  chooseFolder(folder.path());
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb", "c_1.deb"));
}

TEST_F(DownloadSelected, TakesTheHighlightedRowWhereNothingIsTicked) {
  loadRepository({kA, kB, kC});
  show();
  click(1, "displayName");
  runInto(folder.path());
  EXPECT_THAT(folder.names(), ElementsAre("b_1.deb"));
  EXPECT_EQ(folder.read("b_1.deb"), kB.bytes);
}

TEST_F(DownloadSelected, OfATickedPackageThatTheSearchHidesTakesNothingThoughARowIsHighlighted) {
  loadRepository({kA, kB});
  show();
  search("b_1");
  // A search takes all ticks away, so that no control leaves one on a hidden row.
  const_cast<TickedPackages&>(controller.selectedPackageKeys()).insert(controller.allPackages()[0]);
  click(0, "displayName");
  press(c.downloadSelectedButton);
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_EQ(dialogs.shown[0].alert.messageText, "No package selected");
  EXPECT_TRUE(dialogs.panels.empty());
}

TEST_F(DownloadSelected, OfNothingAsksForASelection) {
  loadRepository({kA, kB});
  press(c.downloadSelectedButton);
  expectNotice(
      "No package selected",
      "Select a package row or tick the checkbox of the package(s) you'd like to download.");
  answer(0);
  EXPECT_TRUE(dialogs.panels.empty());
  EXPECT_TRUE(newConsoleLines().empty());
  EXPECT_TRUE(statuses.texts.empty());
}

TEST_F(DownloadSelected, WithoutARepositoryIsRefused) {
  controller.loadPackagesIntoUI(makePackages(1), std::nullopt);
  forgetTexts();
  press(c.downloadSelectedButton);
  EXPECT_THAT(newConsoleLines(), ElementsAre("error: No repository URL available."));
  EXPECT_THAT(statuses.texts, ElementsAre("No repository URL available."));
  EXPECT_TRUE(dialogs.panels.empty());
}

TEST_F(DownloadSelected, IsCancelledWithThePanel) {
  loadRepository({kA});
  tick({0});
  press(c.downloadSelectedButton);
  cancelPanel();
  EXPECT_THAT(newConsoleLines(), ElementsAre("info: Preparing to download 1 selected package(s).",
                                             "warning: Download cancelled."));
  EXPECT_EQ(status(), "Download cancelled.");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(DownloadSelected, WithOnlySkippedFilesIsASuccess) {
  loadRepository({kA});
  folder.write("a_1.deb", "whatever");
  tick({0});
  runInto(folder.path());
  EXPECT_THAT(
      newConsoleLines(),
      ElementsAre("info: Preparing to download 1 selected package(s).",
                  "info: Starting 1 downloads...", "info: Starting download queue: 1 package(s)",
                  "success: Skipped existing file: a_1.deb",
                  "success: Finished. Downloaded: 0  Verified: 0  Failed: 0  "
                  "Validation failed: 0  Skipped: 1",
                  "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 0  "
                  "Validation failed: 0  Skipped: 1"));
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(DownloadSelected, HidesItsBarThreeSecondsAfterItsEnd) {
  loadRepository({kA});
  tick({0});
  // The buttons come back right after the delay has begun.
  const EventTime ended(*c.fetchButton, QEvent::EnabledChange);
  const EventTime hidden(*c.progressIndicator, QEvent::HideToParent);
  runInto(folder.path());
  EXPECT_FALSE(c.progressIndicator->isHidden());
  runUntil([&] { return c.progressIndicator->isHidden(); });
  EXPECT_GE(*hidden.at - *ended.at, std::chrono::milliseconds(2980));
  EXPECT_LE(*hidden.at - *ended.at, std::chrono::milliseconds(6000));
}

TEST_F(DownloadSelected, HoldsAccessToTheFolderWhileItRuns) {
  loadRepository({kA});
  tick({0});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, kA.bytes)));
  press(c.downloadSelectedButton);
  auto access = std::make_shared<int>();
  const std::weak_ptr<int> held = access;
  answerPanel(ChosenFolder{folder.path(), std::move(access)});
  runFor(std::chrono::milliseconds(20));
  EXPECT_FALSE(held.expired());
  gate.open();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  runUntil([&] { return held.expired(); });
}

TEST_F(DownloadSelected, EnablesAtItsEndWhatTheListsOfThatMomentAllow) {
  runAround([&] { controller.clearRepositoryStateWithStatus("Cleared."); });
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch"));
}

TEST_F(DownloadSelected, ThatEndsWhileASearchHidesEveryRowDisablesDownloadAlone) {
  runAround([&] { search("nothing of the kind"); });
  ASSERT_TRUE(controller.packages().empty());
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Missing", "Archive"));
}

TEST_F(DownloadSelected, SavesMetadataNextToThePackagesWhereThatIsOn) {
  loadRepository({kA});
  server.on("/repo/Release", respond(200, "Origin: a repository\n"));
  c.archiveMetadataButton->setChecked(true);
  tick({0});
  runInto(folder.path());
  runUntil([&] { return !systemLines("[UI] Metadata").empty(); });
  EXPECT_THAT(systemLines("[UI] Metadata"),
              ElementsAre("[UI] Metadata archived: 2 downloaded, 21 missing/failed"));
  EXPECT_EQ(folder.read("Release"), "Origin: a repository\n");
  EXPECT_EQ(folder.read("Packages"), kA.stanza());
  EXPECT_EQ(folder.read("a_1.deb"), kA.bytes);
  EXPECT_FALSE(consoleHas("info: Metadata archived"));
}

TEST_F(DownloadSelected, SavesNoMetadataWhereThatIsOff) {
  loadRepository({kA});
  tick({0});
  runInto(folder.path());
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb"));
  EXPECT_TRUE(systemLines("[UI] Metadata").empty());
}

TEST_F(DownloadSelected, IntoAFolderThatDisappearsMakesItAnewOrFailsAndEnds) {
  loadRepository({kA, kB});
  tick({0, 1});
  Gate gate;
  for (const auto& package : {kA, kB}) {
    server.on("/repo/debs/" + package.filename(), heldBy(gate, respond(200, package.bytes)));
  }
  const std::string path = folder.path("archive");
  QDir().mkdir(toQString(path));
  press(c.downloadSelectedButton);
  chooseFolder(path);
  runUntil([&] { return server.requestsInFlight() == 2; });
  QDir(toQString(path)).removeRecursively();
  gate.open();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_EQ(status(),
            "Finished. Downloaded: 0  Verified: 0  Failed: 2  Validation failed: 0  Skipped: 0");
  EXPECT_THAT(folder.names(), IsEmpty());
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(DownloadSelected, FromAServerThatDiesCountsWhatWasLost) {
  loadRepository({kA, kB});
  tick({0, 1});
  Gate gate;
  server.on("/repo/debs/b_1.deb", heldBy(gate, respond(200, kB.bytes)));
  press(c.downloadSelectedButton);
  chooseFolder(folder.path());
  runUntil([&] { return status().starts_with("Downloading 1 / 2 "); });
  server.stop();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_EQ(status(),
            "Finished. Downloaded: 1  Verified: 1  Failed: 1  Validation failed: 0  Skipped: 0");
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb"));
}

TEST_F(DownloadSelected, OfADestroyedWindowLeavesWholeFilesOrNone) {
  loadRepository({kA, kB});
  Gate gate;
  server.on("/repo/debs/b_1.deb", heldBy(gate, respond(200, kB.bytes),
                                         "HTTP/1.1 200 OK\r\nContent-Length: 26\r\n\r\nbytes"));
  {
    ViewController other(queue, dialogs);
    other.loadPackagesIntoUI(controller.allPackages(), URL::parse(repository()));
    other.chooseFolderThenDownloadPackages(other.allPackages());
    chooseFolder(folder.path());
    runUntil([&] { return folder.names() == std::vector<std::string>{"a_1.deb"}; });
  }
  server.stop();
  runFor(std::chrono::milliseconds(50));
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb"));
}

TEST_F(DownloadSelected, AlertWithoutAMessageSaysThatSomethingFailed) {
  controller.showDownloadErrorAlertWithMessage(std::nullopt);
  EXPECT_EQ(dialogs.shown.back().alert.informativeText, "One or more downloads failed.");
}

TEST(FilesystemSafeString, ReplacesEachUnsafeCharacter) {
  EXPECT_EQ(ViewController::filesystemSafeString("a/b:c"), "a_b_c");
  EXPECT_EQ(ViewController::filesystemSafeString("//"), "__");
  EXPECT_EQ(ViewController::filesystemSafeString("/:?&=;%+\\<>|\"*"), "______________");
  EXPECT_EQ(ViewController::filesystemSafeString(" repo.example é "), " repo.example é ");
  EXPECT_EQ(ViewController::filesystemSafeString(""), "UnknownRepo");
}

}  // namespace
}  // namespace tolvane
