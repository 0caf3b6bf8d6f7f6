// SPDX-License-Identifier: MIT
#include "tests/support/SmallDisk.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

class DownloadMissing : public Workflow {
 protected:
  void runInto(const std::string& path) {
    press(c.downloadMissingButton);
    chooseFolder(path);
    runUntil([&] { return c.fetchButton->isEnabled(); });
  }
};

TEST_F(DownloadMissing, WritesAllItsLinesInOrder) {
  loadRepository({kA, kB, kC});
  folder.write("a_1.deb", "whatever");
  folder.write("c_1.deb", "whatever");
  Gate gate;
  server.on("/repo/debs/b_1.deb", heldBy(gate, respond(200, kB.bytes)));
  press(c.downloadMissingButton);
  ASSERT_EQ(dialogs.panels.size(), 1u);
  EXPECT_EQ(dialogs.panels[0].panel.prompt, "Scan & Download Missing");
  EXPECT_EQ(dialogs.panels[0].panel.message,
            "Choose the repository archive folder. Existing .deb files will be skipped.");
  EXPECT_EQ(dialogs.panels[0].window, controller.window());
  chooseFolder(folder.path());
  EXPECT_THAT(enabledButtons(), ElementsAre("Archive", "Cancel"));
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
  EXPECT_FALSE(c.progressIndicator->isHidden());
  gate.open();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_THAT(newConsoleLines(),
              ElementsAre("info: Missing: 1   Already present: 2",
                          "info: Starting download queue: 1 package(s)",
                          "info: Downloading: " + address(kB), "success: Verified b_1.deb",
                          "success: Downloaded and verified: b_1.deb",
                          "success: Finished missing. Downloaded: 1  Verified: 1  Failed: 0  "
                          "Validation failed: 0  Skipped: 0  Already present: 2",
                          "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                          "Validation failed: 0  Skipped: 0"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Missing: 1   Already present: 2",
                          "Downloading missing 1 / 1   Verified: 1   Failed: 0   "
                          "Validation failed: 0   Skipped: 0",
                          "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  "
                          "Validation failed: 0  Skipped: 0  Already present: 2"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_EQ(folder.read("b_1.deb"), kB.bytes);
  EXPECT_EQ(folder.read("a_1.deb"), "whatever");
}

TEST_F(DownloadMissing, ThatFailsWritesAllItsLinesInOrder) {
  loadRepository({kA, kBad});
  folder.write("a_1.deb", "whatever");
  runInto(folder.path());
  const std::string mismatch = "Size mismatch for bad. Expected 1000 bytes, got 9 bytes.";
  EXPECT_THAT(newConsoleLines(),
              ElementsAre("info: Missing: 1   Already present: 1",
                          "info: Starting download queue: 1 package(s)",
                          "info: Downloading: " + address(kBad), "error: " + mismatch,
                          "error: Download failed: " + mismatch,
                          "error: Finished missing. Downloaded: 0  Verified: 0  Failed: 1  "
                          "Validation failed: 1  Skipped: 0  Already present: 1",
                          "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 1  "
                          "Validation failed: 1  Skipped: 0"));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Missing: 1   Already present: 1",
                          "Downloading missing 1 / 1   Verified: 0   Failed: 1   "
                          "Validation failed: 1   Skipped: 0",
                          "Finished missing. Downloaded: 0  Verified: 0  Failed: 1  "
                          "Validation failed: 1  Skipped: 0  Already present: 1"));
  expectNotice("Download completed with errors",
               "Downloaded: 0\nVerified: 0\nFailed: 1\nValidation failed: 1\nSkipped: 0\n"
               "Already present: 1");
}

TEST_F(DownloadMissing, IntoACompleteFolderSendsNothingAndSavesNoMetadata) {
  loadRepository({kA, kB});
  folder.write("a_1.deb", "whatever");
  folder.write("b_1.deb", "whatever");
  c.archiveMetadataButton->setChecked(true);
  const auto requests = server.targets().size();
  press(c.downloadMissingButton);
  auto access = std::make_shared<int>();
  const std::weak_ptr<int> held = access;
  answerPanel(ChosenFolder{folder.path(), std::move(access)});
  EXPECT_TRUE(held.expired());
  EXPECT_THAT(newConsoleLines(),
              ElementsAre("success: Missing: 0   Already present: 2",
                          "success: No missing packages found. Local folder is already complete."));
  EXPECT_THAT(statuses.texts, ElementsAre("Missing: 0   Already present: 2"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
  EXPECT_TRUE(c.progressIndicator->isHidden());
  runFor(std::chrono::milliseconds(50));
  EXPECT_EQ(server.targets().size(), requests);
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb", "b_1.deb"));
}

TEST_F(DownloadMissing, IntoTheFolderThatItHasJustCompletedHidesTheBarOfTheRunBefore) {
  loadRepository({kA});
  runInto(folder.path());
  ASSERT_FALSE(c.progressIndicator->isHidden());
  press(c.downloadMissingButton);
  chooseFolder(folder.path());
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_EQ(c.progressIndicator->doubleValue(), 0);
  EXPECT_EQ(status(), "Missing: 0   Already present: 1");
}

TEST_F(DownloadMissing, ScansTheWholeRepositoryWhateverIsTickedOrShown) {
  loadRepository({kA, kB, kC});
  search("a");
  controller.packageCheckboxClicked(0, true);
  runInto(folder.path());
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb", "b_1.deb", "c_1.deb"));
}

TEST_F(DownloadMissing, SavesMetadataNextToThePackagesWhereThatIsOn) {
  loadRepository({kA});
  c.archiveMetadataButton->setChecked(true);
  runInto(folder.path());
  runUntil([&] { return !systemLines("[UI] Metadata").empty(); });
  EXPECT_THAT(systemLines("[UI] Metadata"),
              ElementsAre("[UI] Metadata archived: 1 downloaded, 22 missing/failed"));
  EXPECT_EQ(folder.read("Packages"), kA.stanza());
}

TEST_F(DownloadMissing, WithoutPackagesOrWithoutARepositoryIsRefused) {
  controller.downloadMissingButtonClicked();
  EXPECT_THAT(newConsoleLines(), ElementsAre("error: No packages loaded."));
  EXPECT_EQ(status(), "No packages loaded.");
  controller.loadPackagesIntoUI(makePackages(1), std::nullopt);
  forgetTexts();
  press(c.downloadMissingButton);
  EXPECT_THAT(newConsoleLines(), ElementsAre("error: No repository URL available."));
  EXPECT_EQ(status(), "No repository URL available.");
  EXPECT_TRUE(dialogs.panels.empty());
}

TEST_F(DownloadMissing, IsCancelledWithThePanel) {
  loadRepository({kA});
  press(c.downloadMissingButton);
  cancelPanel();
  EXPECT_THAT(newConsoleLines(), ElementsAre("warning: Download missing cancelled."));
  EXPECT_EQ(status(), "Download missing cancelled.");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

// An Installer 4 repository of one package, whose ZIP is retrieved through an information list.
class DownloadMissingInstaller4 : public DownloadMissing {
 protected:
  void SetUp() override {
    server.on(
        "/repo/info/index.plist",
        respond(200,
                "<plist><dict><key>packages</key><array><dict>"
                "<key>identifier</key><string>org.example.a</string>"
                "<key>name</key><string>A</string><key>version</key><string>1.0</string>"
                "<key>url</key><string>" +
                    server.url("/repo/info/a.plist") + "</string></dict></array></dict></plist>"));
    choose("Installer 4");
    fetch(repository());
    awaitFetch();
    ASSERT_EQ(status(), "Found 1 packages.");
  }
};

TEST_F(DownloadMissingInstaller4, RetrievesTheZIP) {
  server.on("/repo/info/a.plist",
            respond(200, "{ location = \"" + server.url("/repo/a.zip") + "\"; }"));
  server.on("/repo/a.zip", respond(200, "PK"));
  runInto(folder.path());
  EXPECT_EQ(status(),
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 0");
  EXPECT_TRUE(consoleHas("success: Downloaded Installer 4 package: a.zip"));
  EXPECT_EQ(folder.read("a.zip"), "PK");
  // The scan looks for another name, so the run is what finds the ZIP.
  runInto(folder.path());
  EXPECT_EQ(status(),
            "Finished missing. Downloaded: 0  Verified: 0  Failed: 0  Validation failed: 0  "
            "Skipped: 1  Already present: 0");
}

TEST_F(DownloadMissingInstaller4, FailsWithoutTheInformationList) {
  runInto(folder.path());
  EXPECT_EQ(status(),
            "Finished missing. Downloaded: 0  Verified: 0  Failed: 1  Validation failed: 0  "
            "Skipped: 0  Already present: 0");
}

TEST_F(DownloadMissing, OntoADiskThatFillsKeepsWholeFilesOnly) {
  const SmallDisk disk(64 * 1024);
  if (!disk.isMounted()) GTEST_SKIP() << "a file system can be mounted by the super-user alone";
  std::vector<ServedPackage> packages;
  for (int i = 0; i < 6; ++i) {
    packages.push_back({"p" + std::to_string(i), std::string(20'000, 'x')});
  }
  loadRepository(packages);
  runInto(disk.folder().path());
  const auto names = disk.folder().names();
  EXPECT_LT(names.size(), packages.size());
  for (const std::string& name : names) EXPECT_EQ(disk.folder().read(name), packages[0].bytes);
  EXPECT_EQ(status(), "Finished missing. Downloaded: " + std::to_string(names.size()) +
                          "  Verified: " + std::to_string(names.size()) +
                          "  Failed: " + std::to_string(packages.size() - names.size()) +
                          "  Validation failed: 0  Skipped: 0  Already present: 0");
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

// Cancelling.

class Cancel : public Workflow {
 protected:
  void startMissing(std::shared_ptr<void> access = nullptr) {
    press(c.downloadMissingButton);
    answerPanel(ChosenFolder{folder.path(), std::move(access)});
  }
};

TEST_F(Cancel, AfterEveryStepHasStartedLetsEverythingFinish) {
  Gate gate;
  loadRepository({kA, kB});
  for (const auto& package : {kA, kB}) {
    server.on("/repo/debs/" + package.filename(), heldBy(gate, respond(200, package.bytes)));
  }
  startMissing();
  runUntil([&] { return server.requestsInFlight() == 2; });
  runFor(std::chrono::milliseconds(20));
  forgetTexts();
  press(c.cancelDownloadsButton);
  queue.drain();
  EXPECT_THAT(newConsoleLines(), ElementsAre("warning: Cancelling downloads...",
                                             "warning: Download queue cancellation requested."));
  EXPECT_EQ(status(), "Cancelling downloads...");
  EXPECT_THAT(enabledButtons(), ElementsAre("Archive"));
  EXPECT_TRUE(c.progressIndicator->isHidden());
  gate.open();
  runUntil([&] { return c.fetchButton->isEnabled(); });
  EXPECT_EQ(status(),
            "Finished missing. Downloaded: 2  Verified: 2  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 0");
  EXPECT_THAT(folder.names(), ElementsAre("a_1.deb", "b_1.deb"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(Cancel, RightAfterTheStartDiscardsStepsAndLeavesTheButtonsAsTheyWereThen) {
  std::vector<ServedPackage> packages;
  for (int i = 0; i < 20; ++i) packages.push_back({"p" + std::to_string(i), "x"});
  loadRepository(packages);
  auto access = std::make_shared<int>();
  const std::weak_ptr<int> accessHeld = access;
  {
    const HeldSteps held;
    startMissing(std::move(access));
    runUntil([&] { return consoleHas("info: Starting download queue: 20 package(s)"); });
    press(c.cancelDownloadsButton);
    EXPECT_EQ(status(), "Cancelling downloads...");
  }
  runFor(std::chrono::milliseconds(500));
  EXPECT_THAT(enabledButtons(), ElementsAre("Archive"));
  EXPECT_LT(folder.names().size(), packages.size());
  EXPECT_TRUE(accessHeld.expired());
  // The steps that had started still report progress, and nothing comes after them.
  EXPECT_EQ(status(), "Downloading missing " + std::to_string(folder.names().size()) +
                          " / 20   Verified: " + std::to_string(folder.names().size()) +
                          "   Failed: 0   Validation failed: 0   Skipped: 0");
  EXPECT_FALSE(c.progressIndicator->isHidden());
  for (const std::string& line : newConsoleLines()) {
    EXPECT_EQ(line.find("Finished missing"), std::string::npos);
    EXPECT_EQ(line.find("Download queue finished"), std::string::npos);
  }
  // The Return key of the URL's field still fetches, which brings the buttons back.
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  awaitFetch();
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

}  // namespace
}  // namespace tolvane
