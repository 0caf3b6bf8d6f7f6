// SPDX-License-Identifier: MIT
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;

using Fetch = Workflow;

const std::string kIndex =
    "Package: b\nVersion: 2\nFilename: b.deb\n\n"
    "Package: a\nVersion: 1\nFilename: a.deb\n\n";

std::string installer3List(const std::string& items) {
  return "<plist><dict><key>packages</key><array>" + items + "</array></dict></plist>";
}

// The lines of an APT walk over a repository without an index.
std::vector<std::string> fruitlessWalk(const std::string& url) {
  std::vector<std::string> lines;
  for (const std::string& path : *RepositoryFetcher::candidatePaths()) {
    lines.push_back(
        "info: Trying package index: " +
        RepositoryFetcher::URLForCandidatePath(path, URL::parse(url))->absoluteString());
  }
  return lines;
}

TEST_F(Fetch, OfARepositoryWritesAllItsLinesInOrder) {
  server.on("/repo/Packages", respond(200, kIndex));
  fetch(repository());
  awaitFetch();
  EXPECT_THAT(
      consoleLines(),
      ElementsAre("info: Repository Fetch Started", "info: Fetching " + repository(),
                  "info: Repository type: Cydia / APT", "info: Fetching Packages file...",
                  "info: Fetching repository: " + repository(),
                  "info: Trying package index: " + repository() + "Packages",
                  "success: Package index found: " + repository() + "Packages",
                  "success: Decoded Packages file (" + std::to_string(kIndex.size()) + " chars)",
                  "success: Parsed 2 package(s)",
                  "success: Using package index: " + repository() + "Packages",
                  "success: Fetched 2 package(s).", "success: Loaded 2 package(s) into table."));
  EXPECT_THAT(statuses.texts, ElementsAre("Fetching Packages file...", "Found 2 packages."));
  EXPECT_THAT(
      systemLines("[UI]"),
      ElementsAre("[UI] viewDidLoad", "[UI] buildInterface", "[UI] Repository Fetch Started",
                  "[UI] URL entered: " + repository(), "[UI] Repository type selected: Cydia / APT",
                  "[UI] Fetch completed. packages=2 error=(null)", "[UI] Loaded 2 packages"));
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("b", "a"));
  EXPECT_TRUE(c.progressIndicator->isHidden());
}

TEST_F(Fetch, ThatFailsWritesAllItsLinesInOrder) {
  loadRepository({{"a", "bytes"}});
  const std::string url = server.url("/nothing/");
  fetch(url);
  awaitFetch();
  std::vector<std::string> expected = {"info: Repository Fetch Started", "info: Fetching " + url,
                                       "info: Repository type: Cydia / APT",
                                       "info: Fetching Packages file...",
                                       "info: Fetching repository: " + url};
  for (const std::string& line : fruitlessWalk(url)) expected.push_back(line);
  expected.push_back("error: No Cydia/APT Packages file found.");  // the walk's
  expected.push_back("error: No Cydia/APT Packages file found.");  // the window's
  EXPECT_THAT(newConsoleLines(), ElementsAreArray(expected));
  EXPECT_THAT(statuses.texts,
              ElementsAre("Fetching Packages file...", "No Cydia/APT Packages file found."));
  const std::string error =
      "Error Domain=RepositoryFetcher Code=404 \"No Cydia/APT Packages file found.\"";
  EXPECT_THAT(systemLines("[UI] Fetch completed"),
              Contains("[UI] Fetch completed. packages=0 error=" + error));
  EXPECT_THAT(systemLines("[UI] Error"), ElementsAre("[UI] Error: " + error));
}

TEST_F(Fetch, ThatFailsClearsTheRepositoryOfBefore) {
  loadRepository({{"a", "bytes"}, {"ab", "bytes"}});
  search("a");
  controller.packageCheckboxClicked(0, true);
  controller.packageCheckboxClicked(1, true);
  fetch(server.url("/nothing/"));
  awaitFetch();
  EXPECT_TRUE(controller.packages().empty());
  EXPECT_TRUE(controller.allPackages().empty());
  EXPECT_TRUE(controller.selectedPackageKeys().empty());
  EXPECT_FALSE(controller.currentRepositoryURL());
  EXPECT_EQ(c.tableView->model()->rowCount(), 0);
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch"));
  EXPECT_FALSE(c.selectAllButton->isEnabled());
  EXPECT_FALSE(c.selectAllButton->isChecked());
  EXPECT_FALSE(c.searchField->isEnabled());
  EXPECT_EQ(c.searchField->text(), "");
  EXPECT_EQ(stats(), "No repository loaded.");
  EXPECT_EQ(details(), "Select a package to view details.");
  EXPECT_TRUE(c.progressIndicator->isHidden());
}

TEST_F(Fetch, OfAnEmptyFieldIsRefusedAfterThreeLines) {
  fetch("  ");
  EXPECT_THAT(consoleLines(), ElementsAre("info: Repository Fetch Started", "info: Fetching ",
                                          "info: Repository type: Cydia / APT",
                                          "error: Please enter a repository URL."));
  EXPECT_EQ(status(), "Please enter a repository URL.");
  EXPECT_TRUE(c.fetchButton->isEnabled());
  EXPECT_THAT(systemLines("[UI] URL"), ElementsAre("[UI] URL entered: "));
}

TEST_F(Fetch, OfAnythingWithoutSchemeAndHostIsRefusedAfterThreeLines) {
  for (const char* text : {"example", "repo.example/cydia", "http:///path", "https://", "//host/",
                           "http://a b/", "http://host/a b", "mailto:someone", "http://[::1"}) {
    forgetTexts();
    fetch(text);
    EXPECT_THAT(
        newConsoleLines(),
        ElementsAre("info: Repository Fetch Started", std::string("info: Fetching ") + text,
                    "info: Repository type: Cydia / APT", "error: Invalid repository URL."));
    EXPECT_EQ(status(), "Invalid repository URL.");
    EXPECT_FALSE(controller.currentRepositoryURL()) << text;
    EXPECT_TRUE(c.fetchButton->isEnabled());
  }
}

TEST_F(Fetch, TakesAnySchemeWithAHost) {
  fetch("ftp://127.0.0.1/repo/");
  EXPECT_EQ(status(), "Fetching Packages file...");
  awaitFetch();
  EXPECT_EQ(status(), "No Cydia/APT Packages file found.");
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(Fetch, TrimsTheTextAtBothEnds) {
  server.on("/repo/Packages", respond(200, kIndex));
  fetch(" \t\n\u00A0" + repository() + "\r\n ");
  awaitFetch();
  EXPECT_EQ(status(), "Found 2 packages.");
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), repository());
}

TEST_F(Fetch, SaysByItsTypeWhatItDoesAndDoesIt) {
  struct Row {
    std::string_view choice;
    const char* status;
    std::string firstOfTheReader;
  };
  const Row rows[] = {
      {"Cydia / APT", "Fetching Packages file...", "info: Fetching repository: " + repository()},
      {"Auto-detect", "Auto-detecting repository type...",
       "info: Auto-detecting repository type: " + repository()},
      {"Installer 4", "Fetching Installer 4 repository...",
       "warning: Falling back to Installer 4 detection..."},
      {"Installer 3", "Fetching Packages file...",
       "info: Fetching Installer 3 repository: " + repository()},
  };
  for (const Row& row : rows) {
    forgetTexts();
    choose(row.choice);
    fetch(repository());
    EXPECT_EQ(status(), row.status);
    awaitFetch();
    const auto lines = newConsoleLines();
    ASSERT_GT(lines.size(), 5u);
    EXPECT_EQ(lines[2], "info: Repository type: " + std::string(row.choice));
    EXPECT_EQ(lines[3], std::string("info: ") + row.status);
    EXPECT_EQ(lines[4], row.firstOfTheReader);
  }
}

TEST_F(Fetch, WithoutAChosenTypeIsOfAnAPTRepository) {
  server.on("/repo/Packages", respond(200, kIndex));
  c.repositoryTypePopup->setCurrentIndex(-1);
  fetch(repository());
  awaitFetch();
  EXPECT_TRUE(consoleHas("info: Repository type: Unknown"));
  EXPECT_THAT(systemLines("[UI] Repository type"),
              ElementsAre("[UI] Repository type selected: Unknown"));
  EXPECT_EQ(status(), "Found 2 packages.");
}

TEST_F(Fetch, KeepsTheOldTableAndEveryOtherControlUntilItEnds) {
  loadRepository({{"old", "bytes"}});
  Gate gate;
  server.on("/new/Packages", heldBy(gate, respond(200, kIndex)));
  fetch(server.url("/new/"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Download", "Missing", "Archive"));
  EXPECT_TRUE(c.searchField->isEnabled());
  EXPECT_TRUE(c.repoURLField->isEnabled());
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("old"));
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), server.url("/new/"));
  EXPECT_FALSE(c.progressIndicator->isHidden());
  EXPECT_TRUE(c.progressIndicator->isIndeterminate());
  gate.open();
  awaitFetch();
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("b", "a"));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(Fetch, StartsWithTheButtonTheReturnKeyOrF5) {
  show();
  server.on("/repo/Packages", respond(200, kIndex));
  enterURL(repository());
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  EXPECT_EQ(status(), "Fetching Packages file...");
  awaitFetch();
  forgetTexts();
  controller.actions().fetch->trigger();
  EXPECT_EQ(status(), "Fetching Packages file...");
  controller.actions().fetch->trigger();  // the button is disabled
  awaitFetch();
  const auto lines = newConsoleLines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "info: Repository Fetch Started"), 1);
}

TEST_F(Fetch, StartedByTheReturnKeyDuringAnotherShowsWhicheverEndsLast) {
  Gate slow;
  server.on("/slow/Packages", heldBy(slow, respond(200, kIndex)));
  server.on("/repo/Packages", respond(200, "Package: quick\nFilename: q.deb\n\n"));
  fetch(server.url("/slow/"));
  enterURL(repository());
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  runUntilStatus("Found 1 packages.");
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), repository());
  slow.open();
  runUntilStatus("Found 2 packages.");
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), server.url("/slow/"));
  EXPECT_THAT(identifiersOf(controller.allPackages()), ElementsAre("b", "a"));
}

TEST_F(Fetch, OfBeforeThatFailsLateClearsWhatCameMeanwhile) {
  Gate slow;
  server.onAnyOther(heldBy(slow, respond(404, "")));
  server.on("/repo/Packages", respond(200, kIndex));
  fetch(server.url("/slow/"));
  enterURL(repository());
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  runUntilStatus("Found 2 packages.");
  slow.open();
  runUntilStatus("No Cydia/APT Packages file found.");
  EXPECT_TRUE(controller.packages().empty());
  EXPECT_FALSE(controller.currentRepositoryURL());
}

TEST_F(Fetch, LogsItsEndAtOnceAndTouchesTheWindowOnTheMainThreadOnly) {
  server.on("/repo/Packages", respond(200, kIndex));
  fetch(repository());
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (systemLines("[UI] Fetch completed").empty() && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));  // the main thread is blocked
  }
  EXPECT_THAT(systemLines("[UI] Fetch completed"),
              ElementsAre("[UI] Fetch completed. packages=2 error=(null)"));
  EXPECT_EQ(status(), "Fetching Packages file...");
  EXPECT_FALSE(c.fetchButton->isEnabled());
  EXPECT_TRUE(controller.packages().empty());
  awaitFetch();
  EXPECT_EQ(controller.packages().size(), 2u);
}

TEST_F(Fetch, ThatFailsWithoutADescriptionSaysSoInItsOwnWords) {
  ScriptedHTTPClient session;
  session.answer(repository(), {.error = Error{"Test", 1, ""}});
  ViewController other(queue, dialogs, session.factory());
  other.controls().repositoryTypePopup->setCurrentText("Installer 3");
  other.fetchRepositoryURL(*URL::parse(repository()), true);
  runUntil([&] { return other.controls().fetchButton->isEnabled(); });
  EXPECT_EQ(toText(other.controls().statusLabel->text()), "Could not fetch repository.");
  EXPECT_TRUE(other.consoleMessages().back().message.ends_with("] Repository fetch failed."));
}

TEST_F(Fetch, ThatFailsLeavesACancelButtonAlone) {
  loadRepository({{"a", "bytes"}});
  c.cancelDownloadsButton->setEnabled(true);
  fetch(server.url("/nothing/"));
  awaitFetch();
  EXPECT_TRUE(c.cancelDownloadsButton->isEnabled());
}

TEST_F(Fetch, ClearingLeavesTheFetchAndCancelButtonsAsTheyAre) {
  for (const bool enabled : {false, true}) {
    loadRepository({{"a", "bytes"}});
    c.fetchButton->setEnabled(enabled);
    c.cancelDownloadsButton->setEnabled(enabled);
    controller.clearRepositoryStateWithStatus("Cleared.");
    EXPECT_EQ(c.fetchButton->isEnabled(), enabled);
    EXPECT_EQ(c.cancelDownloadsButton->isEnabled(), enabled);
    c.fetchButton->setEnabled(true);
  }
}

TEST_F(Fetch, OfAnyKindLoadsWhatAutoDetectionFinds) {
  server.on("/repo/Packages", respond(200, kIndex));
  choose("Auto-detect");
  fetch(repository());
  awaitFetch();
  EXPECT_EQ(status(), "Found 2 packages.");
}

TEST_F(Fetch, DuringARunEnablesTheButtonsAgainWithItsPackages) {
  loadRepository({{"a", "bytes"}});
  Gate gate;
  server.on("/repo/debs/a_1.deb", heldBy(gate, respond(200, "bytes")));
  press(c.downloadMissingButton);
  chooseFolder(folder.path());
  EXPECT_THAT(enabledButtons(), ElementsAre("Archive", "Cancel"));
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  awaitFetch();
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive", "Cancel"));
  gate.open();
  runUntil([&] { return status().starts_with("Finished missing."); });
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch", "Download", "Missing", "Archive"));
}

TEST_F(Fetch, OfARepositoryWithoutPackagesDisablesWhatNeedsThem) {
  server.on("/repo/", respond(200, installer3List("")));
  choose("Installer 3");
  fetch(repository());
  awaitFetch();
  EXPECT_EQ(status(), "Found 0 packages.");
  EXPECT_TRUE(consoleHas("success: Fetched 0 package(s)."));
  EXPECT_TRUE(consoleHas("success: Loaded 0 package(s) into table."));
  EXPECT_THAT(enabledButtons(), ElementsAre("Fetch"));
  EXPECT_FALSE(c.selectAllButton->isEnabled());
  EXPECT_FALSE(c.searchField->isEnabled());
}

TEST_F(Fetch, KeepsTheOrderOfTheIndexWhateverTheTableWasSortedBy) {
  loadRepository({{"x", "bytes"}});
  sortBy("displayName");
  server.on("/repo/Packages", respond(200, kIndex));
  fetch(repository());
  awaitFetch();
  EXPECT_THAT(identifiersOf(controller.packages()), ElementsAre("b", "a"));
}

TEST_F(Fetch, ThatEndsAfterItsWindowIsForgotten) {
  Gate gate;
  server.on("/repo/Packages", heldBy(gate, respond(200, kIndex)));
  {
    ViewController other(queue, dialogs);
    other.controls().repoURLField->setText(toQString(repository()));
    other.fetchButtonClicked();
  }
  gate.open();
  runUntil([&] { return !systemLines("[UI] Fetch completed").empty(); });
  runFor(std::chrono::milliseconds(20));
  EXPECT_TRUE(controller.packages().empty());
}

}  // namespace
}  // namespace tolvane
