// SPDX-License-Identifier: MIT
#include "tests/repository/RepositoryFetcherTest.h"

#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;

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
  const FetchOutcome outcome = fetch("http://repo.example");
  ASSERT_TRUE(outcome.packages);
  ASSERT_EQ(outcome.packages->size(), 1U);
  EXPECT_EQ(outcome.packages->front().packageName(), "com.example.a");
  EXPECT_EQ(outcome.error, std::nullopt);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/Packages"));
}

TEST_F(RepositoryFetcherTest, StanzasThatAllLackFilenameSendTheWalkOn) {
  session_.answer("http://repo.example/Packages", {.body = "Package: a\n\nPackage: b\n"});
  session_.answer("http://repo.example/Packages.gz", {.body = gzipped(kIndex)});
  EXPECT_TRUE(fetch("http://repo.example").packages);
  EXPECT_THAT(session_.requestedURLs(),
              ElementsAre("http://repo.example/Packages", "http://repo.example/Packages.gz"));
}

TEST_F(RepositoryFetcherTest, APlainTextUnderACompressedNameIsPassedOver) {
  session_.answer("http://repo.example/a.gz", {.body = kIndex});
  session_.answer("http://repo.example/a", {.body = kIndex});
  EXPECT_TRUE(walk({"a.gz", "a"}).packages);
}

TEST_F(RepositoryFetcherTest, EachPackingIsUnpackedByItsPathsEnding) {
  session_.answer("http://repo.example/a.gz", {.body = gzipped(kIndex)});
  session_.answer("http://repo.example/a.bz2", {.body = bzip2ed(kIndex)});
  session_.answer("http://repo.example/a.xz", {.body = xzed(kIndex)});
  for (const char* path : {"a.gz", "a.bz2", "a.xz"}) EXPECT_TRUE(walk({path}).packages) << path;
}

TEST_F(RepositoryFetcherTest, EveryStatusOfTheTwoHundredsIsASuccess) {
  for (const int status : {200, 206, 299}) {
    session_.answerNext({.status = status, .body = kIndex});
    EXPECT_TRUE(walk({"a"}).packages) << status;
  }
}

TEST_F(RepositoryFetcherTest, NothingFoundEndsWithTheErrorAfterTwentyRequests) {
  const FetchOutcome outcome = fetch("http://repo.example");
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
  session_.answer(url, {.body = bzip2ed(kIndex)});
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

TEST_F(RepositoryFetcherTest, AQueryOfTheRepositoryComesBeforeTheCandidatesPath) {
  session_.answer("http://repo.example/r?k=v/Packages", {.body = kIndex});
  EXPECT_TRUE(fetch("http://repo.example/r?k=v").packages);
}

TEST_F(RepositoryFetcherTest, ABlankInACandidatesPathIsSentPercentEncoded) {
  session_.answer("http://repo.example/my%20index", {.body = kIndex});
  EXPECT_TRUE(walk({"././my index"}).packages);
}

TEST_F(RepositoryFetcherTest, WithoutAURLEveryRequestFailsAndTheWalkEnds) {
  const FetchOutcome outcome = fetch(std::optional<URL>());
  EXPECT_EQ(outcome.error->code, 404);
  EXPECT_EQ(log_.messages()[0], "info: Fetching repository: ");
  EXPECT_EQ(log_.lines()[0], "[Crawler] fetchPackagesFromRepositoryURL called with: (null)");
  EXPECT_EQ(session_.requests().size(), 20U);
}

TEST_F(RepositoryFetcherTest, AWalkThatStartsPastTheEndFailsOnTheCallersThread) {
  EXPECT_EQ(walk({}).thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(RepositoryFetcherTest, AWalkCanStartInTheMiddleOfTheList) {
  const auto paths =
      std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"a", "b"});
  outcomeOf([&](auto completion) {
    RepositoryFetcher(session_.factory())
        .tryCandidatePaths(paths, 1, URL::parse("http://repo.example"), false,
                           std::move(completion));
  });
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/b"));
}

TEST_F(RepositoryFetcherTest, CompletionsComeOnABackgroundThread) {
  EXPECT_NE(fetch("http://repo.example").thread, std::this_thread::get_id());
}

TEST_F(RepositoryFetcherTest, EachCandidateHasASessionOfItsOwnWithItsTimeouts) {
  fetch("http://repo.example");
  EXPECT_EQ(session_.configurations().size(), 20U);
  for (const HTTPOptions& configuration : session_.configurations()) {
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
  outcomeOf([&](auto completion) {
    RepositoryFetcher(session_.factory())
        .fetchPackagesFromRepositoryURL(URL::parse("http://repo.example"), std::move(completion));
    expectOneInFlightAtATime(session_, 20);
  });
}

TEST_F(RepositoryFetcherTest, TwoWalksMayRunAtOnce) {
  session_.answer("http://one.example/Packages", {.body = kIndex});
  const auto [one, two] = outcomesOfTwo<RepositoryFetcher>(session_);
  EXPECT_TRUE(one.packages);
  EXPECT_FALSE(two.packages);
}

}  // namespace
}  // namespace tolvane
