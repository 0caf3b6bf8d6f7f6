// SPDX-License-Identifier: MIT
#include "repository/RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Optional;
using testing::Property;
using testing::SizeIs;

const std::optional<URL> kRepository = URL::parse("http://repo.example");
const Error kNoIndex{"Installer4RepositoryFetcher", 404, "No Installer 4 index plist found."};
const std::string kAPTIndex = "Package: com.example.apt\nFilename: a.deb\n";
const std::string kInstallerIndex = packagesList("{ name = A; }, { name = B; }");

// The URLs, or the messages about them, of all APT candidates of the repository at `base`.
std::vector<std::string> aptCandidates(const std::string& base) {
  std::vector<std::string> texts;
  for (const std::string& path : *RepositoryFetcher::candidatePaths()) {
    texts.push_back(base + (path.starts_with("./") ? path.substr(2) : path));
  }
  return texts;
}

using Entry = void (RepositoryFetcher::*)(const std::optional<URL>&,
                                          RepositoryFetcher::Completion) const;
constexpr Entry kAPT = &RepositoryFetcher::fetchPackagesFromRepositoryURL;
constexpr Entry kAutomatic = &RepositoryFetcher::fetchPackagesWithAutoDetectionFromRepositoryURL;
constexpr Entry kInstaller4 = &RepositoryFetcher::fetchInstaller4PackagesFromRepositoryURL;
constexpr Entry kInstaller3 = &RepositoryFetcher::fetchInstaller3PackagesFromRepositoryURL;

class RepositoryFetcherDispatch : public testing::Test {
 protected:
  // The fetcher is destroyed before its fetch ends.
  FetchOutcome fetch(Entry entry, const std::optional<URL>& url = kRepository) {
    return outcomeOf([&](auto completion) {
      (RepositoryFetcher(session_.factory()).*entry)(url, std::move(completion));
    });
  }

  ScriptedHTTPClient session_;
  LogRecorder log_;
};

TEST_F(RepositoryFetcherDispatch, AutoDetectionFindsAnAPTRepositoryAndLooksNoFurther) {
  session_.answer("http://repo.example/Packages", {.body = kAPTIndex});
  session_.answer("http://repo.example/info/index.plist", {.body = kInstallerIndex});
  EXPECT_THAT(fetch(kAutomatic).packages,
              Optional(ElementsAre(Property(&PackageEntry::packageName, "com.example.apt"))));
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/Packages"));
  EXPECT_EQ(log_.reports()[0], "[Crawler] Auto-detect fetch called with: http://repo.example");
  EXPECT_EQ(log_.reports()[1], "info: Auto-detecting repository type: http://repo.example");
}

TEST_F(RepositoryFetcherDispatch, AutoDetectionOfAnInstaller4RepositoryTriesAPTTwentyTimesFirst) {
  session_.answer("http://repo.example/info/index.plist", {.body = kInstallerIndex});
  const FetchOutcome outcome = fetch(kAutomatic);
  EXPECT_THAT(outcome.packages, Optional(SizeIs(2)));
  EXPECT_EQ(outcome.error, std::nullopt);

  std::vector<std::string> urls = aptCandidates("http://repo.example/");
  EXPECT_THAT(urls, SizeIs(20));
  urls.push_back("http://repo.example/info/index.plist");
  EXPECT_THAT(session_.requestedURLs(), ElementsAreArray(urls));

  std::vector<std::string> messages =
      aptCandidates("info: Trying package index: http://repo.example/");
  messages.insert(messages.begin(), "info: Auto-detecting repository type: http://repo.example");
  messages.insert(messages.end(),
                  {"warning: No Cydia/APT package index found. Trying Installer 4 detection...",
                   "warning: Falling back to Installer 4 detection...",
                   "info: Fetching Installer 4 repository: http://repo.example",
                   "info: Trying Installer 4 index: http://repo.example/info/index.plist",
                   "success: Using Installer 4 index: http://repo.example/info/index.plist",
                   "success: Installer 4 repository parsed: 2 package(s)",
                   "success: Installer 4 repository detected (2 packages)"});
  EXPECT_THAT(log_.messages(), ElementsAreArray(messages));
}

TEST_F(RepositoryFetcherDispatch, AutoDetectionWithoutAnyIndexFailsAfter304Requests) {
  const FetchOutcome outcome = fetch(kAutomatic);
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, kNoIndex);
  EXPECT_THAT(session_.requests(), SizeIs(304));
}

TEST_F(RepositoryFetcherDispatch, AnInstaller3RepositoryIsNotDetected) {
  session_.answer("http://repo.example", {.body = packagesList("{ name = A; }")});
  session_.answer("http://repo.example/", {.body = packagesList("{ name = A; }")});
  EXPECT_EQ(fetch(kAutomatic).error, kNoIndex);
  EXPECT_EQ(log_.messages().back(), "error: No Installer 4 index plist found.");
}

TEST_F(RepositoryFetcherDispatch, TheInstaller4EntryLooksForItsIndexAloneButSpeaksOfFallingBack) {
  session_.answer("http://repo.example/Packages", {.body = kAPTIndex});
  session_.answer("http://repo.example/info/index.plist", {.body = kInstallerIndex});
  EXPECT_THAT(fetch(kInstaller4).packages, Optional(SizeIs(2)));
  EXPECT_THAT(
      log_.reports(),
      ElementsAre("[Crawler] Installer 4-only fetch called with: http://repo.example",
                  "[Crawler] Falling back to Installer 4 detection...",
                  "warning: Falling back to Installer 4 detection...",
                  "info: Fetching Installer 4 repository: http://repo.example",
                  "[Installer4] Trying index: http://repo.example/info/index.plist",
                  "info: Trying Installer 4 index: http://repo.example/info/index.plist",
                  "[Installer4] Response for http://repo.example/info/index.plist -> status=200 "
                  "error=(null) bytes=46",
                  "[Installer4] Using index: http://repo.example/info/index.plist",
                  "success: Using Installer 4 index: http://repo.example/info/index.plist",
                  "[Installer4] Parsed 2 packages",
                  "success: Installer 4 repository parsed: 2 package(s)",
                  "[Crawler] Installer 4 repository detected (2 packages)",
                  "success: Installer 4 repository detected (2 packages)"));
}

TEST_F(RepositoryFetcherDispatch, TheInstaller4EntryPassesTheReadersErrorOnAndLogsItAgain) {
  const FetchOutcome outcome = fetch(kInstaller4);
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, kNoIndex);
  EXPECT_THAT(session_.requests(), SizeIs(284));
  const std::vector<std::string> messages = log_.messages();
  ASSERT_THAT(messages, SizeIs(2 + 284 + 2));
  EXPECT_EQ(messages[286], "error: No Installer 4 index plist found.");
  EXPECT_EQ(messages[287], "error: No Installer 4 index plist found.");
}

// The reader of an Installer 4 index always finds packages or an error; these are the words for one
// that does not.
TEST_F(RepositoryFetcherDispatch, ADetectionWithoutPackagesOrErrorFindsNoSupportedFormat) {
  const Error noFormat{"RepositoryFetcher", 404, "No supported repository format found."};
  for (const auto& packages : {std::optional<RepositoryFetcher::PackageList>(),
                               std::optional(RepositoryFetcher::PackageList())}) {
    const LogRecorder log;
    const FetchOutcome outcome = outcomeOf([&](auto completion) {
      RepositoryFetcher::endInstaller4Detection(packages, std::nullopt, std::move(completion));
    });
    EXPECT_EQ(outcome.packages, std::nullopt);
    EXPECT_EQ(outcome.error, noFormat);
    EXPECT_THAT(log.reports(), ElementsAre("error: No supported repository format found."));
  }
}

TEST_F(RepositoryFetcherDispatch, ADetectionPassesAnErrorWithoutWordsOnAndLogsWordsOfItsOwn) {
  const Error silent{"Elsewhere", 7, ""};
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    RepositoryFetcher::endInstaller4Detection(std::nullopt, silent, std::move(completion));
  });
  EXPECT_EQ(outcome.error, silent);
  EXPECT_THAT(log_.reports(), ElementsAre("error: No supported repository format found."));
}

TEST_F(RepositoryFetcherDispatch, TheInstaller3EntryReadsTheListAtTheURL) {
  session_.answer("http://repo.example", {.body = kInstallerIndex});
  EXPECT_THAT(fetch(kInstaller3).packages, Optional(SizeIs(2)));
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example"));
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Crawler] Installer 3-only fetch called with: http://repo.example",
                          "info: Fetching Installer 3 repository: http://repo.example",
                          "[Installer3] Fetching repository: http://repo.example",
                          "info: Fetching Installer 3 repository XML: http://repo.example",
                          "[Installer3] Parsed 2 packages",
                          "success: Installer 3 repository parsed: 2 package(s)"));
}

TEST_F(RepositoryFetcherDispatch, TheInstaller3EntryPassesAnEmptyListOn) {
  session_.answer("http://repo.example", {.body = packagesList("{ version = 1; }")});
  const FetchOutcome outcome = fetch(kInstaller3);
  EXPECT_THAT(outcome.packages, Optional(IsEmpty()));
  EXPECT_EQ(outcome.error, std::nullopt);
}

TEST_F(RepositoryFetcherDispatch, TheInstaller3EntryPassesTheReadersErrorOn) {
  const FetchOutcome outcome = fetch(kInstaller3);
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, (Error{"Installer3", 404, "Could not load Installer 3 repository."}));
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Fetching Installer 3 repository: http://repo.example",
                          "info: Fetching Installer 3 repository XML: http://repo.example",
                          "error: Could not load Installer 3 repository."));
}

TEST_F(RepositoryFetcherDispatch, TheInstaller3EntryPassesNeitherListNorErrorOn) {
  session_.answer("http://repo.example", {.body = "(A, B)"});
  const FetchOutcome outcome = fetch(kInstaller3);
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, std::nullopt);
}

TEST_F(RepositoryFetcherDispatch, WithoutAURLTheMessagesEndWithNothing) {
  fetch(kAutomatic, std::nullopt);
  EXPECT_EQ(log_.messages().front(), "info: Auto-detecting repository type: ");
  EXPECT_EQ(log_.lines().front(), "[Crawler] Auto-detect fetch called with: (null)");
  const LogRecorder log;
  fetch(kInstaller3, std::nullopt);
  EXPECT_EQ(log.messages().front(), "info: Fetching Installer 3 repository: ");
  EXPECT_EQ(log.lines().front(), "[Crawler] Installer 3-only fetch called with: (null)");
}

// The first message of a fetch shows which one it is.
TEST_F(RepositoryFetcherDispatch, AKindStartsTheFetchThatItNames) {
  const auto firstMessageOf = [&](RepositoryKind kind) {
    const LogRecorder log;
    outcomeOf([&](auto completion) {
      RepositoryFetcher(session_.factory()).fetchPackages(kind, kRepository, std::move(completion));
    });
    return log.messages().front();
  };
  EXPECT_EQ(firstMessageOf(RepositoryKind::apt), "info: Fetching repository: http://repo.example");
  EXPECT_EQ(firstMessageOf(RepositoryKind::automatic),
            "info: Auto-detecting repository type: http://repo.example");
  EXPECT_EQ(firstMessageOf(RepositoryKind::installer4),
            "warning: Falling back to Installer 4 detection...");
  EXPECT_EQ(firstMessageOf(RepositoryKind::installer3),
            "info: Fetching Installer 3 repository: http://repo.example");
}

TEST_F(RepositoryFetcherDispatch, EachFetchHasAnInstallerFetcherOfItsOwn) {
  const RepositoryFetcher fetcher(session_.factory());
  EXPECT_THAT(session_.configurations(), IsEmpty());
  for (std::size_t count = 1; count <= 3; ++count) {
    outcomeOf([&](auto completion) {
      fetcher.fetchInstaller3PackagesFromRepositoryURL(kRepository, std::move(completion));
    });
    EXPECT_THAT(session_.configurations(), SizeIs(2 * count - 1));
    outcomeOf([&](auto completion) {
      fetcher.fetchInstaller4PackagesFromRepositoryURL(kRepository, std::move(completion));
    });
    EXPECT_THAT(session_.configurations(), SizeIs(2 * count));
  }
}

TEST_F(RepositoryFetcherDispatch, CompletionsComeOnABackgroundThread) {
  for (const Entry entry : {kAPT, kAutomatic, kInstaller4, kInstaller3}) {
    EXPECT_NE(fetch(entry).thread, std::this_thread::get_id());
  }
}

TEST(RepositoryFetcherOnLoopback, AutoDetectionFindsAnInstaller4Repository) {
  LoopbackServer server;
  server.on("/info/Info.plist", respond(200, kInstallerIndex));
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    RepositoryFetcher().fetchPackagesWithAutoDetectionFromRepositoryURL(URL::parse(server.url("/")),
                                                                        std::move(completion));
  });
  EXPECT_THAT(outcome.packages, Optional(SizeIs(2)));
  EXPECT_THAT(server.targets(), SizeIs(22));
  EXPECT_EQ(server.maximumRequestsInFlight(), 1U);
}

TEST(RepositoryFetcherOnLoopback, AllCandidatesAreAskedForOnOneConnection) {
  LoopbackServer server;
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    RepositoryFetcher().fetchPackagesWithAutoDetectionFromRepositoryURL(URL::parse(server.url("/")),
                                                                        std::move(completion));
  });
  EXPECT_EQ(outcome.error, kNoIndex);
  EXPECT_THAT(server.targets(), SizeIs(304));
  EXPECT_EQ(server.connectionsAccepted(), 1U);
}

}  // namespace
}  // namespace tolvane
