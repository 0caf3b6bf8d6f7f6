// SPDX-License-Identifier: MIT
#include <chrono>

#include "repository/Installer3RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ManualClock.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::Pair;
using testing::Property;
using testing::SizeIs;

constexpr const char* kURL = "http://repo.example/list";
constexpr const char* kFetching =
    "info: Fetching Installer 3 repository XML: http://repo.example/list";
constexpr const char* kNotLoaded = "Could not load Installer 3 repository.";
constexpr const char* kNotLoadedLine = "error: Could not load Installer 3 repository.";

const ScriptedAnswer kTimeout = failingAnswer(kURLErrorTimedOut, "The request timed out.");
const ScriptedAnswer kLost =
    failingAnswer(kURLErrorNetworkConnectionLost, "The network connection was lost.");

class Installer3RepositoryFetcherTest : public testing::Test {
 protected:
  Installer3RepositoryFetcherTest() { clock_.skipDelays(); }

  // The fetcher is destroyed before its fetch ends.
  FetchOutcome fetch(const std::optional<URL>& url = URL::parse(kURL)) {
    return outcomeOf([&](auto completion) {
      Installer3RepositoryFetcher(session_.factory())
          .fetchPackagesFromRepositoryURL(url, std::move(completion));
    });
  }

  FetchOutcome fetch(const std::string& body) {
    session_.answer(kURL, {.body = body});
    return fetch();
  }

  FetchOutcome fetchWithRetries(long retryCount) {
    return outcomeOf([&](auto completion) {
      Installer3RepositoryFetcher(session_.factory())
          .fetchPackagesFromRepositoryURL(URL::parse(kURL), retryCount, std::move(completion));
    });
  }

  ManualClock clock_;
  ScriptedHTTPClient session_;
  LogRecorder log_;
};

TEST_F(Installer3RepositoryFetcherTest, AGoodListIsReportedStepByStep) {
  EXPECT_TRUE(fetch(packagesList("{ name = A; }, { name = B; }")).packages);
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Installer3] Fetching repository: http://repo.example/list", kFetching,
                          "[Installer3] Parsed 2 packages",
                          "success: Installer 3 repository parsed: 2 package(s)"));
}

TEST_F(Installer3RepositoryFetcherTest, AListOfNoPackagesIsASuccess) {
  const FetchOutcome outcome = fetch(packagesList(""));
  EXPECT_THAT(outcome.packages, Optional(IsEmpty()));
  EXPECT_EQ(outcome.error, std::nullopt);
  EXPECT_THAT(log_.messages(),
              ElementsAre(kFetching, "success: Installer 3 repository parsed: 0 package(s)"));
}

TEST_F(Installer3RepositoryFetcherTest, AListOfNoUsablePackageIsASuccess) {
  const FetchOutcome outcome = fetch(packagesList("{ version = 1; }, word"));
  EXPECT_THAT(outcome.packages, Optional(IsEmpty()));
  EXPECT_EQ(outcome.error, std::nullopt);
}

TEST_F(Installer3RepositoryFetcherTest, AStatusOutsideTheTwoHundredsIsTheErrorsCode) {
  for (const int status : {199, 300, 404, 500}) {
    const LogRecorder log;
    session_.answerNext({.status = status, .body = packagesList("{ name = A; }")});
    const FetchOutcome outcome = fetch();
    EXPECT_EQ(outcome.packages, std::nullopt);
    EXPECT_EQ(outcome.error, (Error{"Installer3", status, kNotLoaded}));
    EXPECT_THAT(log.messages(), ElementsAre(kFetching, kNotLoadedLine));
    EXPECT_THAT(log.lines(),
                ElementsAre("[Installer3] Fetching repository: http://repo.example/list"));
  }
}

TEST_F(Installer3RepositoryFetcherTest, EveryStatusOfTheTwoHundredsIsASuccess) {
  for (const int status : {200, 206, 299}) {
    session_.answerNext({.status = status, .body = packagesList("{ name = A; }")});
    EXPECT_TRUE(fetch().packages) << status;
  }
}

TEST_F(Installer3RepositoryFetcherTest, AnEmptyBodyFailsWithItsGoodStatus) {
  EXPECT_EQ(fetch("").error, (Error{"Installer3", 200, kNotLoaded}));
  EXPECT_THAT(log_.messages(), ElementsAre(kFetching, kNotLoadedLine));
}

TEST_F(Installer3RepositoryFetcherTest, NeitherAnswerNorErrorFailsWithTheStatusZero) {
  session_.answer(kURL, {.status = 0});
  EXPECT_EQ(fetch().error, (Error{"Installer3", 0, kNotLoaded}));
}

TEST_F(Installer3RepositoryFetcherTest, ABodyThatCannotBeReadFailsWithTheReadersError) {
  for (const char* body :
       {"<plist><dict>", "<html><body>Welcome</body></html>", "{ packages = ("}) {
    const LogRecorder log;
    session_.answerNext({.body = body});
    const FetchOutcome outcome = fetch();
    EXPECT_EQ(outcome.packages, std::nullopt);
    const std::optional<Error> reason = readPropertyList(body).error;
    ASSERT_TRUE(reason) << body;
    EXPECT_EQ(outcome.error, reason);
    EXPECT_THAT(log.messages(), ElementsAre(kFetching, "error: " + reason->description));
  }
}

TEST_F(Installer3RepositoryFetcherTest, ARootThatIsNoDictionaryGivesNeitherListNorError) {
  for (const char* body : {"<plist><array/></plist>", "word"}) {
    const LogRecorder log;
    session_.answerNext({.body = body});
    const FetchOutcome outcome = fetch();
    EXPECT_EQ(outcome.packages, std::nullopt);
    EXPECT_EQ(outcome.error, std::nullopt);
    EXPECT_THAT(
        log.messages(),
        ElementsAre(kFetching, "error: Installer 3 repository could not be parsed as a plist."));
  }
}

TEST_F(Installer3RepositoryFetcherTest, ARootWithoutAListOfPackagesFails) {
  for (const char* body : {"{ }", "{ packages = { name = A; }; }", "{ Packages = (A); }"}) {
    const LogRecorder log;
    session_.answerNext({.body = body});
    const FetchOutcome outcome = fetch();
    EXPECT_EQ(outcome.packages, std::nullopt);
    EXPECT_EQ(outcome.error,
              (Error{"Installer3", 1001, "Installer 3 repository contains no packages array."}));
    EXPECT_THAT(
        log.messages(),
        ElementsAre(kFetching, "error: Installer 3 repository contains no packages array."));
  }
}

TEST_F(Installer3RepositoryFetcherTest, TwoTimeoutsAndThenAnAnswerGiveThePackages) {
  session_.answer(kURL, kTimeout);
  session_.answer(kURL, kTimeout);
  EXPECT_TRUE(fetch(packagesList("{ name = A; }")).packages);
  EXPECT_EQ(clock_.elapsed(), 2 * 1500ms);
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Installer3] Fetching repository: http://repo.example/list", kFetching,
                          "[Installer3] Fetch failed (The request timed out.), retrying... "
                          "attempts left=2",
                          "warning: Installer 3 fetch failed (The request timed out.). Retrying... "
                          "attempts left: 2",
                          "[Installer3] Fetching repository: http://repo.example/list", kFetching,
                          "[Installer3] Fetch failed (The request timed out.), retrying... "
                          "attempts left=1",
                          "warning: Installer 3 fetch failed (The request timed out.). Retrying... "
                          "attempts left: 1",
                          "[Installer3] Fetching repository: http://repo.example/list", kFetching,
                          "[Installer3] Parsed 1 packages",
                          "success: Installer 3 repository parsed: 1 package(s)"));
}

TEST_F(Installer3RepositoryFetcherTest, AThirdTimeoutIsTheError) {
  session_.answer(kURL, kTimeout);
  const FetchOutcome outcome = fetch();
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, kTimeout.error);
  EXPECT_THAT(session_.requests(), SizeIs(3));
  EXPECT_EQ(clock_.elapsed(), 2 * 1500ms);
  EXPECT_EQ(log_.messages().back(), "error: The request timed out.");
  EXPECT_THAT(log_.messages(), SizeIs(6)) << "three attempts, two warnings, one error";
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Installer3] Fetching repository: http://repo.example/list",
                          "[Installer3] Fetch failed (The request timed out.), retrying... "
                          "attempts left=2",
                          "[Installer3] Fetching repository: http://repo.example/list",
                          "[Installer3] Fetch failed (The request timed out.), retrying... "
                          "attempts left=1",
                          "[Installer3] Fetching repository: http://repo.example/list"));
}

TEST_F(Installer3RepositoryFetcherTest, ARetriedErrorIsKnownByItsCodeInAnyDomain) {
  session_.answer(kURL, {.status = 0, .error = Error{"Elsewhere", -1005, ""}});
  session_.answer(kURL, {.body = packagesList("")});
  EXPECT_TRUE(fetchWithRetries(1).packages);
  EXPECT_EQ(clock_.elapsed(), 1500ms);
  EXPECT_THAT(log_.messages(),
              ElementsAre(kFetching,
                          "warning: Installer 3 fetch failed (Unknown error). Retrying... "
                          "attempts left: 1",
                          kFetching, "success: Installer 3 repository parsed: 0 package(s)"));
}

TEST_F(Installer3RepositoryFetcherTest, AnAnswerCutShortIsRetried) {
  session_.answer(kURL, {.body = packagesList("{ name = A; }"), .error = kLost.error});
  session_.answer(kURL, {.body = packagesList("{ name = B; }")});
  EXPECT_THAT(fetch().packages, Optional(ElementsAre(Property(&PackageEntry::packageName, "B"))));
}

TEST_F(Installer3RepositoryFetcherTest, WithoutRetriesLeftALostConnectionIsTheError) {
  for (const long retryCount : {0L, -1L}) {
    const LogRecorder log;
    session_.answer(kURL, kLost);
    EXPECT_EQ(fetchWithRetries(retryCount).error, kLost.error);
    EXPECT_THAT(log.messages(), ElementsAre(kFetching, "error: The network connection was lost."));
  }
  EXPECT_THAT(session_.requests(), SizeIs(2));
}

TEST_F(Installer3RepositoryFetcherTest, AnyOtherTransportErrorIsNotRetried) {
  for (const int code : {kURLErrorCannotFindHost, kURLErrorCannotConnectToHost}) {
    const LogRecorder log;
    session_.answerNext(failingAnswer(code, "It failed."));
    const FetchOutcome outcome = fetch();
    EXPECT_EQ(outcome.packages, std::nullopt);
    EXPECT_EQ(outcome.error, (Error{std::string(kURLErrorDomain), code, "It failed."}));
    EXPECT_THAT(log.messages(), ElementsAre(kFetching, "error: It failed."));
    EXPECT_THAT(log.lines(),
                ElementsAre("[Installer3] Fetching repository: http://repo.example/list"));
  }
  EXPECT_THAT(session_.requests(), SizeIs(2));
}

TEST_F(Installer3RepositoryFetcherTest, ATransportErrorWithoutDescriptionIsLoggedAsNotLoaded) {
  session_.answerNext(failingAnswer(kURLErrorCannotFindHost, ""));
  EXPECT_EQ(fetch().error, (Error{std::string(kURLErrorDomain), kURLErrorCannotFindHost, ""}));
  EXPECT_THAT(log_.messages(), ElementsAre(kFetching, kNotLoadedLine));
}

TEST_F(Installer3RepositoryFetcherTest, TheListIsAskedForAtTheURLItselfPastEveryCache) {
  fetch(URL::parse("http://repo.example/repo?list=all"));
  ASSERT_THAT(session_.requests(), SizeIs(1));
  EXPECT_EQ(session_.requests()[0].url, "http://repo.example/repo?list=all");
  EXPECT_EQ(session_.requests()[0].kind, ScriptedRequest::Kind::data);
  EXPECT_THAT(session_.requests()[0].headers,
              ElementsAre(Pair("Cache-Control", "no-cache"), Pair("Pragma", "no-cache")));
}

TEST_F(Installer3RepositoryFetcherTest, AFetcherHasOneSessionWithTwiceTheUsualTimeouts) {
  session_.answer(kURL, kLost);
  session_.answer(kURL, {.body = packagesList("")});
  fetch();
  ASSERT_THAT(session_.configurations(), SizeIs(1)) << "for the retry too";
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForRequest, std::chrono::seconds(60));
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForResource, std::chrono::seconds(120));
}

TEST_F(Installer3RepositoryFetcherTest, WithoutAURLTheFetchFails) {
  EXPECT_EQ(fetch(std::optional<URL>()).error->code, kURLErrorUnsupportedURL);
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Fetching Installer 3 repository XML: ", "error: unsupported URL"));
  EXPECT_THAT(log_.lines(), ElementsAre("[Installer3] Fetching repository: (null)"));
}

TEST_F(Installer3RepositoryFetcherTest, CompletionsComeOnABackgroundThread) {
  EXPECT_NE(fetch(packagesList("")).thread, std::this_thread::get_id());
  session_.answer(kURL, kTimeout);
  EXPECT_NE(fetchWithRetries(0).thread, std::this_thread::get_id());
}

TEST_F(Installer3RepositoryFetcherTest, WithoutACompletionResultsAreDropped) {
  const Installer3RepositoryFetcher fetcher(session_.factory());
  session_.answerNext({.body = packagesList("{ name = A; }")});
  session_.answerNext({.body = "word"});
  session_.hold();
  for (int i = 0; i < 3; ++i) fetcher.fetchPackagesFromRepositoryURL(URL::parse(kURL), {});
  // The session's completions come one after another, so this one is the last.
  outcomeOf([&](auto completion) {
    fetcher.fetchPackagesFromRepositoryURL(URL::parse(kURL), std::move(completion));
    session_.releaseAll();
  });
  EXPECT_THAT(log_.messages(),
              ElementsAre(kFetching, kFetching, kFetching, kFetching,
                          "success: Installer 3 repository parsed: 1 package(s)",
                          "error: Installer 3 repository could not be parsed as a plist.",
                          kNotLoadedLine, kNotLoadedLine));
}

TEST(Installer3RepositoryFetcherOnLoopback, AConnectionDroppedTwiceIsTriedAgainAfterAPause) {
  ManualClock clock;
  clock.skipDelays();
  LoopbackServer server;
  server.on("/list", inTurn({hangUp(), reset(), respond(200, packagesList("{ name = A; }"))}));
  const LogRecorder log;
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    Installer3RepositoryFetcher().fetchPackagesFromRepositoryURL(URL::parse(server.url("/list")),
                                                                 std::move(completion));
  });
  EXPECT_THAT(outcome.packages, Optional(ElementsAre(Property(&PackageEntry::packageName, "A"))));
  const std::string fetching = "info: Fetching Installer 3 repository XML: " + server.url("/list");
  EXPECT_THAT(log.messages(),
              ElementsAre(fetching,
                          "warning: Installer 3 fetch failed (The network connection was lost.). "
                          "Retrying... attempts left: 2",
                          fetching,
                          "warning: Installer 3 fetch failed (The network connection was lost.). "
                          "Retrying... attempts left: 1",
                          fetching, "success: Installer 3 repository parsed: 1 package(s)"));
  EXPECT_EQ(clock.elapsed(), 2 * 1500ms);
}

TEST_F(Installer3RepositoryFetcherTest, TwoFetchesOfOneFetcherMayRunAtOnce) {
  session_.answer("http://one.example", {.body = packagesList("{ name = A; }")});
  const auto [one, two] = outcomesOfTwo<Installer3RepositoryFetcher>(session_);
  EXPECT_THAT(one.packages, Optional(SizeIs(1)));
  EXPECT_EQ(two.error, (Error{"Installer3", 404, kNotLoaded}));
}

TEST(Installer3RepositoryFetcherOnLoopback, ARefusedConnectionIsNotTriedAgain) {
  LoopbackServer server;
  const std::string url = server.url("/list");
  server.stop();
  const LogRecorder log;
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    Installer3RepositoryFetcher().fetchPackagesFromRepositoryURL(URL::parse(url),
                                                                 std::move(completion));
  });
  EXPECT_EQ(outcome.error, (Error{std::string(kURLErrorDomain), kURLErrorCannotConnectToHost,
                                  "Could not connect to the server."}));
  EXPECT_THAT(log.messages(), ElementsAre("info: Fetching Installer 3 repository XML: " + url,
                                          "error: Could not connect to the server."));
}

}  // namespace
}  // namespace tolvane
