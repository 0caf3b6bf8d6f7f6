// SPDX-License-Identifier: MIT
#include <future>

#include "repository/RepositoryFetcher.h"
#include "tests/repository/Payloads.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedURLSession.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;

const std::string kIndex = "Package: com.example.a\nFilename: a.deb\n";

// What a fetch came to, once its completion has run.
struct Outcome {
  std::optional<RepositoryFetcher::PackageList> packages;
  std::optional<Error> error;
  std::thread::id thread;
};

class RepositoryFetcherTest : public testing::Test {
 protected:
  Outcome fetch(const std::string& url) { return fetch(URL::parse(url)); }

  Outcome fetch(const std::optional<URL>& url) {
    return outcomeOf([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.fetchPackagesFromRepositoryURL(url, std::move(completion));
    });
  }

  Outcome walk(std::vector<std::string> paths) {
    return outcomeOf([&](const RepositoryFetcher& fetcher, auto completion) {
      fetcher.tryCandidatePaths(std::make_shared<const std::vector<std::string>>(std::move(paths)),
                                0, URL::parse("http://repo.example"), false, std::move(completion));
    });
  }

  ScriptedURLSession session_;
  LogRecorder log_;

 private:
  // A second call of the completion fails in set_value(). The fetcher is gone before its walk ends.
  template <typename Start>
  Outcome outcomeOf(Start start) {
    const auto outcome = std::make_shared<std::promise<Outcome>>();
    start(RepositoryFetcher(session_.factory()), [outcome](auto packages, auto error) {
      outcome->set_value({std::move(packages), std::move(error), std::this_thread::get_id()});
    });
    return outcome->get_future().get();
  }
};

std::vector<std::string> allCandidates() {
  std::vector<std::string> urls;
  for (const char* folder :
       {"", "", "dists/stable/main/binary-iphoneos-arm/", "dists/ios/main/binary-iphoneos-arm/",
        "dists/tangelo/main/binary-iphoneos-arm/"}) {
    for (const char* file : {"Packages", "Packages.gz", "Packages.bz2", "Packages.xz"}) {
      urls.push_back(std::string("http://repo.example/") + folder + file);
    }
  }
  return urls;
}

TEST_F(RepositoryFetcherTest, TheCandidatesAreTwentyPathsInAFixedOrder) {
  EXPECT_THAT(*RepositoryFetcher::candidatePaths(),
              ElementsAre("Packages", "Packages.gz", "Packages.bz2", "Packages.xz", "./Packages",
                          "./Packages.gz", "./Packages.bz2", "./Packages.xz",
                          "dists/stable/main/binary-iphoneos-arm/Packages",
                          "dists/stable/main/binary-iphoneos-arm/Packages.gz",
                          "dists/stable/main/binary-iphoneos-arm/Packages.bz2",
                          "dists/stable/main/binary-iphoneos-arm/Packages.xz",
                          "dists/ios/main/binary-iphoneos-arm/Packages",
                          "dists/ios/main/binary-iphoneos-arm/Packages.gz",
                          "dists/ios/main/binary-iphoneos-arm/Packages.bz2",
                          "dists/ios/main/binary-iphoneos-arm/Packages.xz",
                          "dists/tangelo/main/binary-iphoneos-arm/Packages",
                          "dists/tangelo/main/binary-iphoneos-arm/Packages.gz",
                          "dists/tangelo/main/binary-iphoneos-arm/Packages.bz2",
                          "dists/tangelo/main/binary-iphoneos-arm/Packages.xz"));
}

TEST_F(RepositoryFetcherTest, AGoodFirstCandidateEndsTheWalkWithItsPackages) {
  session_.answer("http://repo.example/Packages", {.body = kIndex});
  const Outcome outcome = fetch("http://repo.example");
  ASSERT_TRUE(outcome.packages);
  ASSERT_EQ(outcome.packages->size(), 1U);
  EXPECT_EQ(outcome.packages->front().packageName(), "com.example.a");
  EXPECT_EQ(outcome.error, std::nullopt);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/Packages"));
}

TEST_F(RepositoryFetcherTest, AGoodCandidateIsReportedStepByStep) {
  session_.answer("http://repo.example/Packages", {.body = kIndex});
  fetch("http://repo.example");
  EXPECT_THAT(
      log_.messages(),
      ElementsAre("info: Fetching repository: http://repo.example",
                  "info: Trying package index: http://repo.example/Packages",
                  "success: Package index found: http://repo.example/Packages",
                  "success: Decoded Packages file (39 chars)", "success: Parsed 1 package(s)",
                  "success: Using package index: http://repo.example/Packages"));
  EXPECT_THAT(
      log_.lines(),
      ElementsAre("[Crawler] fetchPackagesFromRepositoryURL called with: http://repo.example",
                  "[Crawler] Trying: http://repo.example/Packages",
                  "[Crawler] Response for http://repo.example/Packages -> status=200 error=(null) "
                  "bytes=39",
                  "[Crawler] Candidate exists: http://repo.example/Packages",
                  "[Crawler] Decoded Packages file (39 chars)", "[Crawler] Parsed 1 packages",
                  "[Crawler] Using package index: http://repo.example/Packages"));
}

TEST_F(RepositoryFetcherTest, AnEmptyBodyIsReportedAsFoundAndThenPassedOverSilently) {
  session_.answer("http://repo.example/Packages", {.body = ""});
  session_.answer("http://repo.example/Packages.gz", {.body = packGzip(kIndex)});
  EXPECT_TRUE(fetch("http://repo.example").packages);
  EXPECT_THAT(
      log_.messages(),
      ElementsAre("info: Fetching repository: http://repo.example",
                  "info: Trying package index: http://repo.example/Packages",
                  "success: Package index found: http://repo.example/Packages",
                  "info: Trying package index: http://repo.example/Packages.gz",
                  "success: Package index found: http://repo.example/Packages.gz",
                  "success: Decoded Packages file (39 chars)", "success: Parsed 1 package(s)",
                  "success: Using package index: http://repo.example/Packages.gz"));
}

TEST_F(RepositoryFetcherTest, AnUndecodableBodyIsWarnedOf) {
  session_.answer("http://repo.example/a.gz", {.body = kIndex});
  walk({"a.gz"});
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Trying package index: http://repo.example/a.gz",
                          "success: Package index found: http://repo.example/a.gz",
                          "warning: Could not decode package index, trying next path: "
                          "http://repo.example/a.gz",
                          "error: No Cydia/APT Packages file found."));
  EXPECT_THAT(
      log_.lines(),
      ElementsAre("[Crawler] Trying: http://repo.example/a.gz",
                  "[Crawler] Response for http://repo.example/a.gz -> status=200 error=(null) "
                  "bytes=39",
                  "[Crawler] Candidate exists: http://repo.example/a.gz",
                  "[Crawler] Could not decode candidate, trying next path: "
                  "http://repo.example/a.gz"));
}

TEST_F(RepositoryFetcherTest, AnIndexWithoutPackagesIsWarnedOf) {
  session_.answer("http://repo.example/a", {.body = "Package: no-filename\n"});
  walk({"a"});
  EXPECT_THAT(
      log_.messages(),
      ElementsAre("info: Trying package index: http://repo.example/a",
                  "success: Package index found: http://repo.example/a",
                  "success: Decoded Packages file (21 chars)", "success: Parsed 0 package(s)",
                  "warning: Package index contained no packages, trying next candidate: "
                  "http://repo.example/a",
                  "error: No Cydia/APT Packages file found."));
  EXPECT_THAT(
      log_.lines(),
      ElementsAre("[Crawler] Trying: http://repo.example/a",
                  "[Crawler] Response for http://repo.example/a -> status=200 error=(null) "
                  "bytes=21",
                  "[Crawler] Candidate exists: http://repo.example/a",
                  "[Crawler] Decoded Packages file (21 chars)", "[Crawler] Parsed 0 packages",
                  "[Crawler] Candidate decoded but contained no packages, trying next "
                  "path: http://repo.example/a"));
}

TEST_F(RepositoryFetcherTest, StanzasThatAllLackFilenameSendTheWalkOn) {
  session_.answer("http://repo.example/Packages", {.body = "Package: a\n\nPackage: b\n"});
  session_.answer("http://repo.example/Packages.gz", {.body = packGzip(kIndex)});
  EXPECT_TRUE(fetch("http://repo.example").packages);
  EXPECT_THAT(session_.requestedURLs(),
              ElementsAre("http://repo.example/Packages", "http://repo.example/Packages.gz"));
}

TEST_F(RepositoryFetcherTest, APlainTextUnderThePackedNameIsPassedOver) {
  session_.answer("http://repo.example/a.gz", {.body = kIndex});
  session_.answer("http://repo.example/a", {.body = kIndex});
  EXPECT_TRUE(walk({"a.gz", "a"}).packages);
}

TEST_F(RepositoryFetcherTest, EachPackingIsUnpackedByItsPathsEnding) {
  session_.answer("http://repo.example/a.gz", {.body = packGzip(kIndex)});
  session_.answer("http://repo.example/a.bz2", {.body = packBzip2(kIndex)});
  session_.answer("http://repo.example/a.xz", {.body = packXZ(kIndex)});
  for (const char* path : {"a.gz", "a.bz2", "a.xz"}) EXPECT_TRUE(walk({path}).packages) << path;
}

TEST_F(RepositoryFetcherTest, AStatusOutsideTheTwoHundredsIsPassedOverSilently) {
  for (const int status : {199, 300, 304, 404, 500}) {
    const LogRecorder log;
    session_.answerNext({.status = status, .body = kIndex});
    EXPECT_FALSE(walk({"a"}).packages) << status;
    EXPECT_THAT(log.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                            "error: No Cydia/APT Packages file found."))
        << status;
    EXPECT_THAT(log.lines(), ElementsAre("[Crawler] Trying: http://repo.example/a",
                                         "[Crawler] Response for http://repo.example/a -> status=" +
                                             std::to_string(status) + " error=(null) bytes=39"));
  }
}

TEST_F(RepositoryFetcherTest, EveryStatusOfTheTwoHundredsIsASuccess) {
  for (const int status : {200, 206, 299}) {
    session_.answerNext({.status = status, .body = kIndex});
    EXPECT_TRUE(walk({"a"}).packages) << status;
  }
}

TEST_F(RepositoryFetcherTest, ATransportErrorIsPassedOverSilently) {
  session_.answer("http://repo.example/a",
                  failingAnswer(kURLErrorTimedOut, "The request timed out."));
  EXPECT_FALSE(walk({"a"}).packages);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Crawler] Trying: http://repo.example/a",
                          "[Crawler] Response for http://repo.example/a -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1001 \"The request timed out.\" bytes=0"));
}

TEST_F(RepositoryFetcherTest, AnAnswerCutShortIsReportedAsFoundAndThenPassedOver) {
  session_.answer("http://repo.example/a",
                  {.status = 200,
                   .body = kIndex,
                   .error = Error{std::string(kURLErrorDomain), kURLErrorNetworkConnectionLost,
                                  "The network connection was lost."}});
  EXPECT_FALSE(walk({"a"}).packages);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "success: Package index found: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherTest, ABodyBeyondTheMaximumCountsAsUndecodable) {
  const Error tooLong{std::string(kURLErrorDomain), kURLErrorDataLengthExceedsMaximum, "too long"};
  session_.answer("http://repo.example/a", {.status = 200, .body = "", .error = tooLong});
  EXPECT_FALSE(walk({"a"}).packages);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "success: Package index found: http://repo.example/a",
                                           "warning: Could not decode package index, trying next "
                                           "path: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherTest, AnErrorPageBeyondTheMaximumIsPassedOverSilently) {
  const Error tooLong{std::string(kURLErrorDomain), kURLErrorDataLengthExceedsMaximum, "too long"};
  session_.answer("http://repo.example/a", {.status = 404, .body = "", .error = tooLong});
  walk({"a"});
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherTest, NothingFoundEndsWithTheErrorAfterTwentyRequests) {
  const Outcome outcome = fetch("http://repo.example");
  EXPECT_FALSE(outcome.packages);
  EXPECT_EQ(outcome.error, (Error{"RepositoryFetcher", 404, "No Cydia/APT Packages file found."}));
  EXPECT_THAT(session_.requestedURLs(), ElementsAreArray(allCandidates()));
  EXPECT_EQ(log_.messages().back(), "error: No Cydia/APT Packages file found.");
}

TEST_F(RepositoryFetcherTest, TheLastTransportErrorIsNotPassedOn) {
  session_.answer("http://repo.example/a", failingAnswer(kURLErrorCannotFindHost, "no host"));
  EXPECT_EQ(walk({"a"}).error->domain, "RepositoryFetcher");
}

TEST_F(RepositoryFetcherTest, AnIndexInADistributionFolderIsFoundOnTheEleventhCandidate) {
  const std::string url = "http://repo.example/dists/stable/main/binary-iphoneos-arm/Packages.bz2";
  session_.answer(url, {.body = packBzip2(kIndex)});
  EXPECT_TRUE(fetch("http://repo.example").packages);
  std::vector<std::string> first = allCandidates();
  first.resize(11);
  EXPECT_THAT(session_.requestedURLs(), ElementsAreArray(first));
  EXPECT_EQ(log_.messages().back(), "success: Using package index: " + url);
}

TEST_F(RepositoryFetcherTest, ATrailingSlashOfTheRepositoryMakesNoDifference) {
  fetch("http://repo.example/");
  EXPECT_THAT(session_.requestedURLs(), ElementsAreArray(allCandidates()));
}

TEST_F(RepositoryFetcherTest, AQueryOfTheRepositoryStandsBeforeTheCandidatesPath) {
  session_.answer("http://repo.example/r?k=v/Packages", {.body = kIndex});
  EXPECT_TRUE(fetch("http://repo.example/r?k=v").packages);
}

TEST_F(RepositoryFetcherTest, ABlankInACandidatesPathIsSentPercentEncoded) {
  session_.answer("http://repo.example/my%20index", {.body = kIndex});
  EXPECT_TRUE(walk({"././my index"}).packages);
}

TEST_F(RepositoryFetcherTest, ADecodedTextIsMeasuredInUTF16Units) {
  const std::string text = kIndex + "Name: \u00E9\U0001F600";
  session_.answer("http://repo.example/a", {.body = text});
  walk({"a"});
  EXPECT_EQ(log_.messages()[2], "success: Decoded Packages file (48 chars)");
}

TEST_F(RepositoryFetcherTest, WithoutAURLEveryRequestFailsAndTheWalkEnds) {
  const Outcome outcome = fetch(std::optional<URL>());
  EXPECT_EQ(outcome.error->code, 404);
  EXPECT_EQ(log_.messages()[0], "info: Fetching repository: ");
  EXPECT_EQ(log_.lines()[0], "[Crawler] fetchPackagesFromRepositoryURL called with: (null)");
  EXPECT_EQ(session_.requests().size(), 20U);
}

TEST_F(RepositoryFetcherTest, ACandidateThatGivesNoURLIsReportedAndPassedOver) {
  // The joined text would be "/" and a host that no URL can have.
  const auto paths =
      std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"/h:x"});
  std::promise<std::optional<Error>> ended;
  RepositoryFetcher(session_.factory())
      .tryCandidatePaths(paths, 0, std::nullopt, false,
                         [&](auto, auto error) { ended.set_value(std::move(error)); });
  EXPECT_EQ(ended.get_future().get()->code, 404);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: ",
                                           "error: No Cydia/APT Packages file found."));
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Crawler] Trying: (null)",
                          "[Crawler] Response for (null) -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" bytes=0"));
}

TEST_F(RepositoryFetcherTest, AWalkThatStartsPastTheEndFailsOnTheCallersThread) {
  EXPECT_EQ(walk({}).thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(RepositoryFetcherTest, AWalkCanStartInTheMiddleOfTheList) {
  const auto paths =
      std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"a", "b"});
  std::promise<void> ended;
  RepositoryFetcher(session_.factory())
      .tryCandidatePaths(paths, 1, URL::parse("http://repo.example"), false,
                         [&](auto, auto) { ended.set_value(); });
  ended.get_future().wait();
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/b"));
}

TEST_F(RepositoryFetcherTest, CompletionsComeOnABackgroundThread) {
  EXPECT_NE(fetch("http://repo.example").thread, std::this_thread::get_id());
}

TEST_F(RepositoryFetcherTest, EachCandidateHasASessionOfItsOwnWithItsTimeouts) {
  fetch("http://repo.example");
  EXPECT_EQ(session_.configurations().size(), 20U);
  for (const URLSessionConfiguration& configuration : session_.configurations()) {
    EXPECT_EQ(configuration.timeoutIntervalForRequest, std::chrono::seconds(30));
    EXPECT_EQ(configuration.timeoutIntervalForResource, std::chrono::seconds(60));
  }
}

TEST_F(RepositoryFetcherTest, EveryRequestForbidsCaches) {
  fetch("http://repo.example");
  for (const ScriptedRequest& request : session_.requests()) {
    EXPECT_EQ(request.kind, ScriptedRequest::Kind::data);
    EXPECT_THAT(request.headers,
                ElementsAre(Pair("Cache-Control", "no-cache"), Pair("Pragma", "no-cache")));
  }
}

TEST_F(RepositoryFetcherTest, OneRequestOfAWalkIsInFlightAtATime) {
  session_.hold();
  std::promise<void> ended;
  RepositoryFetcher(session_.factory())
      .fetchPackagesFromRepositoryURL(URL::parse("http://repo.example"),
                                      [&](auto, auto) { ended.set_value(); });
  for (std::size_t count = 1; count <= 20; ++count) {
    ASSERT_TRUE(session_.waitForRequests(count));
    EXPECT_EQ(session_.requests().size(), count);
    session_.release(1);
  }
  ended.get_future().wait();
}

TEST_F(RepositoryFetcherTest, TwoWalksMayRunAtOnce) {
  session_.answer("http://one.example/Packages", {.body = kIndex});
  session_.hold();
  std::promise<bool> one, two;
  const RepositoryFetcher fetcher(session_.factory());
  fetcher.fetchPackagesFromRepositoryURL(
      URL::parse("http://one.example"),
      [&](auto packages, auto) { one.set_value(packages.has_value()); });
  fetcher.fetchPackagesFromRepositoryURL(
      URL::parse("http://two.example"),
      [&](auto packages, auto) { two.set_value(packages.has_value()); });
  ASSERT_TRUE(session_.waitForRequests(2));
  session_.releaseAll();
  EXPECT_TRUE(one.get_future().get());
  EXPECT_FALSE(two.get_future().get());
}

}  // namespace
}  // namespace tolvane
