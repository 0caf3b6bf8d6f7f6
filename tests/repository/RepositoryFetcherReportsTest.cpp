// SPDX-License-Identifier: MIT
#include "tests/repository/RepositoryFetcherTest.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

using RepositoryFetcherReports = RepositoryFetcherTest;

TEST_F(RepositoryFetcherReports, AGoodCandidateIsReportedStepByStep) {
  session_.answer("http://repo.example/Packages", {.body = kIndex});
  fetch("http://repo.example");
  EXPECT_THAT(
      log_.reports(),
      ElementsAre("[Crawler] fetchPackagesFromRepositoryURL called with: http://repo.example",
                  "info: Fetching repository: http://repo.example",
                  "[Crawler] Trying: http://repo.example/Packages",
                  "info: Trying package index: http://repo.example/Packages",
                  "[Crawler] Response for http://repo.example/Packages -> status=200 error=(null) "
                  "bytes=39",
                  "[Crawler] Candidate exists: http://repo.example/Packages",
                  "success: Package index found: http://repo.example/Packages",
                  "[Crawler] Decoded Packages file (39 chars)",
                  "success: Decoded Packages file (39 chars)", "[Crawler] Parsed 1 packages",
                  "success: Parsed 1 package(s)",
                  "[Crawler] Using package index: http://repo.example/Packages",
                  "success: Using package index: http://repo.example/Packages"));
}

TEST_F(RepositoryFetcherReports, AWalkInVainIsReportedCandidateByCandidate) {
  fetch("http://repo.example");
  std::vector<std::string> reports{
      "[Crawler] fetchPackagesFromRepositoryURL called with: http://repo.example",
      "info: Fetching repository: http://repo.example"};
  for (const std::string& path : *RepositoryFetcher::candidatePaths()) {
    const std::string url =
        "http://repo.example/" + (path.starts_with("./") ? path.substr(2) : path);
    reports.push_back("[Crawler] Trying: " + url);
    reports.push_back("info: Trying package index: " + url);
    reports.push_back("[Crawler] Response for " + url + " -> status=404 error=(null) bytes=0");
  }
  reports.push_back("error: No Cydia/APT Packages file found.");
  EXPECT_THAT(log_.reports(), testing::ElementsAreArray(reports));
}

TEST_F(RepositoryFetcherReports, AnEmptyBodyIsReportedAsFoundAndThenPassedOverSilently) {
  session_.answer("http://repo.example/Packages", {.body = ""});
  session_.answer("http://repo.example/Packages.gz", {.body = gzipped(kIndex)});
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

TEST_F(RepositoryFetcherReports, AnUndecodableBodyIsWarnedOf) {
  session_.answer("http://repo.example/a.gz", {.body = kIndex});
  walk({"a.gz"});
  EXPECT_THAT(
      log_.reports(),
      ElementsAre("[Crawler] Trying: http://repo.example/a.gz",
                  "info: Trying package index: http://repo.example/a.gz",
                  "[Crawler] Response for http://repo.example/a.gz -> status=200 error=(null) "
                  "bytes=39",
                  "[Crawler] Candidate exists: http://repo.example/a.gz",
                  "success: Package index found: http://repo.example/a.gz",
                  "[Crawler] Could not decode candidate, trying next path: "
                  "http://repo.example/a.gz",
                  "warning: Could not decode package index, trying next path: "
                  "http://repo.example/a.gz",
                  "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherReports, AnIndexWithoutPackagesIsWarnedOf) {
  session_.answer("http://repo.example/a", {.body = "Package: no-filename\n"});
  walk({"a"});
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Crawler] Trying: http://repo.example/a",
                          "info: Trying package index: http://repo.example/a",
                          "[Crawler] Response for http://repo.example/a -> status=200 error=(null) "
                          "bytes=21",
                          "[Crawler] Candidate exists: http://repo.example/a",
                          "success: Package index found: http://repo.example/a",
                          "[Crawler] Decoded Packages file (21 chars)",
                          "success: Decoded Packages file (21 chars)",
                          "[Crawler] Parsed 0 packages", "success: Parsed 0 package(s)",
                          "[Crawler] Candidate decoded but contained no packages, trying next "
                          "path: http://repo.example/a",
                          "warning: Package index contained no packages, trying next candidate: "
                          "http://repo.example/a",
                          "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherReports, AStatusOutsideTheTwoHundredsIsPassedOverSilently) {
  for (const int status : {199, 300, 304, 404, 500}) {
    const LogRecorder log;
    session_.answerNext({.status = status, .body = kIndex});
    EXPECT_FALSE(walk({"a"}).packages) << status;
    EXPECT_THAT(log.reports(),
                ElementsAre("[Crawler] Trying: http://repo.example/a",
                            "info: Trying package index: http://repo.example/a",
                            "[Crawler] Response for http://repo.example/a -> status=" +
                                std::to_string(status) + " error=(null) bytes=39",
                            "error: No Cydia/APT Packages file found."));
  }
}

TEST_F(RepositoryFetcherReports, ATransportErrorIsPassedOverSilently) {
  session_.answer("http://repo.example/a",
                  failingAnswer(kURLErrorTimedOut, "The request timed out."));
  EXPECT_FALSE(walk({"a"}).packages);
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Crawler] Trying: http://repo.example/a",
                          "info: Trying package index: http://repo.example/a",
                          "[Crawler] Response for http://repo.example/a -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1001 \"The request timed out.\" bytes=0",
                          "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherReports, AnAnswerCutShortIsReportedAsFoundAndThenPassedOver) {
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

TEST_F(RepositoryFetcherReports, ABodyBeyondTheMaximumCountsAsUndecodable) {
  const Error tooLong{std::string(kURLErrorDomain), kURLErrorDataLengthExceedsMaximum, "too long"};
  session_.answer("http://repo.example/a", {.status = 200, .body = "", .error = tooLong});
  EXPECT_FALSE(walk({"a"}).packages);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "success: Package index found: http://repo.example/a",
                                           "warning: Could not decode package index, trying next "
                                           "path: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherReports, AnErrorPageBeyondTheMaximumIsPassedOverSilently) {
  const Error tooLong{std::string(kURLErrorDomain), kURLErrorDataLengthExceedsMaximum, "too long"};
  session_.answer("http://repo.example/a", {.status = 404, .body = "", .error = tooLong});
  walk({"a"});
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: http://repo.example/a",
                                           "error: No Cydia/APT Packages file found."));
}

TEST_F(RepositoryFetcherReports, ADecodedTextIsMeasuredInUTF16CodeUnits) {
  const std::string text = kIndex + "Name: \u00E9\U0001F600";
  session_.answer("http://repo.example/a", {.body = text});
  walk({"a"});
  EXPECT_EQ(log_.messages()[2], "success: Decoded Packages file (48 chars)");
}

TEST_F(RepositoryFetcherReports, ACandidateThatGivesNoURLIsReportedAndPassedOver) {
  // The joined text would be "/" and a host that no URL can have.
  const auto paths =
      std::make_shared<const std::vector<std::string>>(std::vector<std::string>{"/h:x"});
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    RepositoryFetcher(session_.factory())
        .tryCandidatePaths(paths, 0, std::nullopt, false, std::move(completion));
  });
  EXPECT_EQ(outcome.error->code, 404);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying package index: ",
                                           "error: No Cydia/APT Packages file found."));
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Crawler] Trying: (null)",
                          "[Crawler] Response for (null) -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" bytes=0"));
}

}  // namespace
}  // namespace tolvane
