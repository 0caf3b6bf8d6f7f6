// SPDX-License-Identifier: MIT
#include "tests/support/NginxServer.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

const std::string kIndex = "Package: a\nFilename: a.deb\n\n";
const std::string kInstaller3List =
    "<plist><dict><key>packages</key><array><dict><key>bundleIdentifier</key><string>a</string>"
    "<key>location</key><string>a.zip</string></dict></array></dict></plist>";
const std::string kUntrusted = "The certificate for this server is invalid.";
const std::string kNoIndex = "No Cydia/APT Packages file found.";

// The server speaks plain HTTP alone, so that HTTPS to the same port fails.
class Fallback : public Workflow {
 protected:
  std::string secure() const { return "https" + repository().substr(4); }

  void failOverHTTPS() {
    fetch(secure());
    awaitFetch();
    ASSERT_EQ(dialogs.shown.size(), 1u);
  }

  // The lines of a fetch up to its end, in a repository without index.
  static std::vector<std::string> failedFetch(const std::string& url) {
    std::vector<std::string> lines = {"info: Fetching Packages file...",
                                      "info: Fetching repository: " + url};
    for (const std::string& path : *RepositoryFetcher::candidatePaths()) {
      lines.push_back(
          "info: Trying package index: " +
          RepositoryFetcher::URLForCandidatePath(path, URL::parse(url))->absoluteString());
    }
    lines.insert(lines.end(), 2, "error: " + kNoIndex);
    return lines;
  }
};

TEST_F(Fallback, IsOfferedWhenAFetchOverHTTPSFails) {
  failOverHTTPS();
  const Alert& alert = dialogs.shown[0].alert;
  EXPECT_EQ(alert.messageText, "HTTPS fetch failed");
  EXPECT_EQ(alert.informativeText,
            "This repository could not be loaded over HTTPS. Some older Cydia repositories only "
            "support plain HTTP.\n\nWould you like to try this URL instead?\n" +
                repository());
  EXPECT_THAT(alert.buttons, ElementsAre("Try HTTP", "Cancel"));
  EXPECT_EQ(dialogs.shown[0].window, controller.window());
  EXPECT_TRUE(c.fetchButton->isEnabled());
  EXPECT_TRUE(c.progressIndicator->isHidden());
  EXPECT_EQ(status(), "Fetching Packages file...");
}

TEST_F(Fallback, ThatIsAcceptedFetchesOverHTTPAndWritesAllItsLinesInOrder) {
  server.on("/repo/Packages", respond(200, kIndex));
  failOverHTTPS();
  answer(0);
  EXPECT_EQ(toText(c.repoURLField->text()), repository());
  awaitFetch();
  std::vector<std::string> expected = {"info: Repository Fetch Started",
                                       "info: Fetching " + secure(),
                                       "info: Repository type: Cydia / APT"};
  for (const std::string& line : failedFetch(secure())) expected.push_back(line);
  for (const std::string& line :
       {"warning: HTTPS failed. HTTP fallback available: " + repository(),
        std::string("warning: User accepted HTTP fallback."),
        std::string("info: Fetching Packages file..."),
        "info: Fetching repository: " + repository(),
        "info: Trying package index: " + repository() + "Packages",
        "success: Package index found: " + repository() + "Packages",
        "success: Decoded Packages file (" + std::to_string(kIndex.size()) + " chars)",
        std::string("success: Parsed 1 package(s)"),
        "success: Using package index: " + repository() + "Packages",
        std::string("success: Fetched 1 package(s)."),
        std::string("success: Loaded 1 package(s) into table.")}) {
    expected.push_back(line);
  }
  EXPECT_THAT(consoleLines(), ElementsAreArray(expected));
  EXPECT_THAT(statuses.texts, ElementsAre("Fetching Packages file...", "Found 1 packages."));
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), repository());
}

TEST_F(Fallback, ThatFailsTooClearsWithoutAnotherQuestion) {
  failOverHTTPS();
  forgetTexts();
  answer(0);
  awaitFetch();
  EXPECT_TRUE(dialogs.shown.empty());
  std::vector<std::string> expected = {"warning: User accepted HTTP fallback."};
  for (const std::string& line : failedFetch(repository())) expected.push_back(line);
  EXPECT_THAT(newConsoleLines(), ElementsAreArray(expected));
  EXPECT_EQ(status(), kNoIndex);
  EXPECT_FALSE(controller.currentRepositoryURL());
}

TEST_F(Fallback, ThatIsDeclinedClearsWithTheErrorOfHTTPS) {
  loadRepository({{"a", "bytes"}});
  failOverHTTPS();
  EXPECT_EQ(controller.packages().size(), 1u);  // until the answer
  forgetTexts();
  answer(1);
  EXPECT_THAT(newConsoleLines(), ElementsAre("warning: User cancelled HTTP fallback."));
  EXPECT_EQ(status(), kNoIndex);
  EXPECT_TRUE(controller.packages().empty());
  EXPECT_FALSE(controller.currentRepositoryURL());
  EXPECT_EQ(toText(c.repoURLField->text()), secure());
}

TEST_F(Fallback, ThatIsDeclinedHidesABarThatARunHasShownAgainMeanwhile) {
  loadRepository({kA, kB});
  Gate first;
  Gate second;
  server.on("/repo/debs/a_1.deb", heldBy(first, respond(200, kA.bytes)));
  server.on("/repo/debs/b_1.deb", heldBy(second, respond(200, kB.bytes)));
  press(c.downloadMissingButton);
  chooseFolder(folder.path());
  enterURL(secure());
  QTest::keyClick(c.repoURLField, Qt::Key_Return);
  runUntil([&] { return !dialogs.shown.empty(); });
  ASSERT_TRUE(c.progressIndicator->isHidden());
  first.open();
  runUntil([&] { return status().starts_with("Downloading missing 1 / 2 "); });
  ASSERT_FALSE(c.progressIndicator->isHidden());
  answer(1);
  EXPECT_TRUE(c.progressIndicator->isHidden());
  second.open();
  runUntil([&] { return status().starts_with("Finished missing."); });
}

TEST_F(Fallback, IsOfferedWhateverTheCaseOfTheScheme) {
  fetch("HTTPS" + repository().substr(4));
  awaitFetch();
  ASSERT_EQ(dialogs.shown.size(), 1u);
  EXPECT_TRUE(consoleHas("warning: HTTPS failed. HTTP fallback available: " + repository()));
}

TEST_F(Fallback, IsNotOfferedForAFetchOverHTTP) {
  fetch(repository());
  awaitFetch();
  EXPECT_TRUE(dialogs.shown.empty());
}

TEST_F(Fallback, IsForgottenWithItsWindow) {
  {
    ViewController other(queue, dialogs);
    other.fetchRepositoryURL(*URL::parse(secure()), true);
    runUntil([&] { return !dialogs.shown.empty(); });
  }
  answer(0);
  EXPECT_FALSE(consoleHas("warning: User accepted HTTP fallback."));
}

TEST(HTTPURLFromHTTPSURL, KeepsAllButTheScheme) {
  const auto http = [](const char* text) {
    return absoluteText(ViewController::HTTPURLFromHTTPSURL(*URL::parse(text)));
  };
  EXPECT_EQ(http("https://repo.example"), "http://repo.example");
  EXPECT_EQ(http("HttpS://u:p@repo.example:443/a%20b/?q=https://x#f"),
            "http://u:p@repo.example:443/a%20b/?q=https://x#f");
  EXPECT_EQ(http("https://[::1]:8443/"), "http://[::1]:8443/");
  EXPECT_EQ(http("ftp://repo.example/"), "http://repo.example/");
}

// One port answers TLS, with an untrusted certificate, and plain HTTP.
class FallbackOfRealTLS : public Workflow {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx is not installed";
    nginx = std::make_unique<NginxServer>("error_page 497 =200 @plain; location @plain { }");
    ASSERT_TRUE(nginx->isRunning());
    // Of the kinds of repository, this one's error is the transport's own.
    choose("Installer 3");
    fetch(secure());
    awaitFetch();
    ASSERT_EQ(dialogs.shown.size(), 1u);
  }

  std::string secure() const { return nginx->secureURL("/repo/list.plist"); }
  std::string plain() const { return "http" + secure().substr(5); }

  std::unique_ptr<NginxServer> nginx;
};

TEST_F(FallbackOfRealTLS, FetchesAndLoadsOverHTTP) {
  nginx->write("repo/list.plist", kInstaller3List);
  answer(0);
  awaitFetch();
  EXPECT_EQ(toText(c.repoURLField->text()), plain());
  EXPECT_EQ(status(), "Found 1 packages.");
  EXPECT_EQ(controller.currentRepositoryURL()->absoluteString(), plain());
}

TEST_F(FallbackOfRealTLS, ThatFailsTooEndsWithTheErrorOfHTTP) {
  nginx->write("repo/list.plist", "no list");
  answer(0);
  awaitFetch();
  EXPECT_TRUE(dialogs.shown.empty());
  EXPECT_NE(status(), kUntrusted);
  EXPECT_EQ(consoleLines().back(), "error: " + status());
  EXPECT_FALSE(controller.currentRepositoryURL());
}

TEST_F(FallbackOfRealTLS, ThatIsDeclinedEndsWithTheErrorOfHTTPS) {
  EXPECT_TRUE(consoleHas("error: " + kUntrusted));
  answer(1);
  EXPECT_EQ(status(), kUntrusted);
  EXPECT_FALSE(controller.currentRepositoryURL());
}

}  // namespace
}  // namespace tolvane
