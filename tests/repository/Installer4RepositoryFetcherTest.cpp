// SPDX-License-Identifier: MIT
#include <chrono>

#include "repository/Installer4RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Optional;
using testing::Pair;
using testing::Property;
using testing::SizeIs;

const std::optional<URL> kRepository = URL::parse("http://repo.example");
const Error kNothingFound{"Installer4RepositoryFetcher", 404, "No Installer 4 index plist found."};
const std::string kIndex = packagesList("{ identifier = com.example.a; }");

std::vector<std::string> allCandidates() {
  std::vector<std::string> paths;
  for (const std::string folder : {"info/", ""}) {
    paths.push_back(folder + "index.plist");
    paths.push_back(folder + "Info.plist");
    for (int major = 2; major <= 15; ++major) {
      for (int minor = 0; minor <= 9; ++minor) {
        paths.push_back(folder + "index-" + std::to_string(major) + "." + std::to_string(minor) +
                        ".plist");
      }
    }
  }
  return paths;
}

class Installer4RepositoryFetcherTest : public testing::Test {
 protected:
  // The fetcher is destroyed before its fetch ends.
  FetchOutcome fetch(const std::optional<URL>& url = kRepository) {
    return outcomeOf([&](auto completion) {
      Installer4RepositoryFetcher(session_.factory())
          .fetchPackagesFromRepositoryURL(url, std::move(completion));
    });
  }

  FetchOutcome walk(std::vector<std::string> paths, std::size_t index = 0,
                    const std::optional<URL>& url = kRepository) {
    return outcomeOf([&](auto completion) {
      Installer4RepositoryFetcher(session_.factory())
          .tryIndexCandidatePaths(
              std::make_shared<const std::vector<std::string>>(std::move(paths)), index, url,
              std::move(completion));
    });
  }

  // What a walk over "a" alone reports when that is answered so, but for the lines around it.
  std::vector<std::string> messagesAfter(const ScriptedAnswer& answer) {
    const LogRecorder log;
    session_.answerNext(answer);
    EXPECT_EQ(walk({"a"}).error, kNothingFound);
    std::vector<std::string> messages = log.messages();
    EXPECT_EQ(messages.front(), "info: Trying Installer 4 index: http://repo.example/a");
    EXPECT_EQ(messages.back(), "error: No Installer 4 index plist found.");
    return {messages.begin() + 1, messages.end() - 1};
  }

  ScriptedHTTPClient session_;
  LogRecorder log_;
};

TEST_F(Installer4RepositoryFetcherTest, TheCandidatesAre284PathsInAFixedOrder) {
  const std::vector<std::string>& paths =
      *Installer4RepositoryFetcher::installer4IndexCandidatePaths();
  EXPECT_THAT(paths, SizeIs(284));
  EXPECT_THAT(paths, ElementsAreArray(allCandidates()));
  EXPECT_EQ(paths[0], "info/index.plist");
  EXPECT_EQ(paths[1], "info/Info.plist");
  EXPECT_EQ(paths[2], "info/index-2.0.plist");
  EXPECT_EQ(paths[3], "info/index-2.1.plist");
  EXPECT_EQ(paths[11], "info/index-2.9.plist");
  EXPECT_EQ(paths[12], "info/index-3.0.plist");
  EXPECT_EQ(paths[141], "info/index-15.9.plist");
  EXPECT_EQ(paths[142], "index.plist");
  EXPECT_EQ(paths[143], "Info.plist");
  EXPECT_EQ(paths[144], "index-2.0.plist");
  EXPECT_EQ(paths[283], "index-15.9.plist");
}

TEST_F(Installer4RepositoryFetcherTest, AnIndexAtTheSecondCandidateIsFoundWithTwoRequests) {
  session_.answer("http://repo.example/info/Info.plist", {.body = kIndex});
  const FetchOutcome outcome = fetch();
  EXPECT_THAT(outcome.packages,
              Optional(ElementsAre(Property(&PackageEntry::packageName, "com.example.a"))));
  EXPECT_EQ(outcome.error, std::nullopt);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://repo.example/info/index.plist",
                                                    "http://repo.example/info/Info.plist"));
}

TEST_F(Installer4RepositoryFetcherTest, AWalkIsReportedStepByStep) {
  session_.answer("http://repo.example/info/Info.plist",
                  {.body = packagesList("{ name = A; }, { name = B; }")});
  fetch();
  EXPECT_THAT(
      log_.reports(),
      ElementsAre("info: Fetching Installer 4 repository: http://repo.example",
                  "[Installer4] Trying index: http://repo.example/info/index.plist",
                  "info: Trying Installer 4 index: http://repo.example/info/index.plist",
                  "[Installer4] Response for http://repo.example/info/index.plist -> status=404 "
                  "error=(null) bytes=0",
                  "[Installer4] Trying index: http://repo.example/info/Info.plist",
                  "info: Trying Installer 4 index: http://repo.example/info/Info.plist",
                  "[Installer4] Response for http://repo.example/info/Info.plist -> status=200 "
                  "error=(null) bytes=46",
                  "[Installer4] Using index: http://repo.example/info/Info.plist",
                  "success: Using Installer 4 index: http://repo.example/info/Info.plist",
                  "[Installer4] Parsed 2 packages",
                  "success: Installer 4 repository parsed: 2 package(s)"));
}

TEST_F(Installer4RepositoryFetcherTest, AnEmptyBodyIsPassedOverSilently) {
  EXPECT_THAT(messagesAfter({.status = 200}), IsEmpty());
}

TEST_F(Installer4RepositoryFetcherTest, AStatusOutsideTheTwoHundredsIsPassedOverSilently) {
  for (const int status : {199, 300, 304, 404, 500}) {
    EXPECT_THAT(messagesAfter({.status = status, .body = kIndex}), IsEmpty()) << status;
  }
}

TEST_F(Installer4RepositoryFetcherTest, EveryStatusOfTheTwoHundredsIsASuccess) {
  for (const int status : {200, 206, 299}) {
    session_.answerNext({.status = status, .body = kIndex});
    EXPECT_TRUE(walk({"a"}).packages) << status;
  }
}

TEST_F(Installer4RepositoryFetcherTest, AnIndexThatCannotBeReadIsWarnedOf) {
  for (const char* body :
       {"<html><body>Welcome</body></html>", "<plist><dict>", "{ packages = (", "bplist00"}) {
    EXPECT_THAT(
        messagesAfter({.body = body}),
        ElementsAre("warning: Installer 4 index could not be parsed: http://repo.example/a"))
        << body;
  }
}

TEST_F(Installer4RepositoryFetcherTest, AnIndexWhoseRootIsNoDictionaryIsWarnedOf) {
  for (const char* body : {"<plist><array><dict/></array></plist>", "({ name = A; })", "word"}) {
    EXPECT_THAT(
        messagesAfter({.body = body}),
        ElementsAre("warning: Installer 4 index could not be parsed: http://repo.example/a"))
        << body;
  }
}

TEST_F(Installer4RepositoryFetcherTest, AnIndexWithoutAListOfPackagesIsWarnedOf) {
  for (const char* body : {"{ }", "{ packages = { name = A; }; }", "{ Packages = (A); }"}) {
    EXPECT_THAT(messagesAfter({.body = body}),
                ElementsAre("warning: Installer 4 index contains no packages array: "
                            "http://repo.example/a"))
        << body;
  }
}

TEST_F(Installer4RepositoryFetcherTest, AnIndexWithoutUsablePackagesIsWarnedOf) {
  for (const char* items : {"", "{ version = 1; }, { url = x; }", "word"}) {
    EXPECT_THAT(messagesAfter({.body = packagesList(items)}),
                ElementsAre("warning: Installer 4 index contained zero usable packages: "
                            "http://repo.example/a"))
        << items;
  }
}

TEST_F(Installer4RepositoryFetcherTest, ATransportErrorIsWarnedOf) {
  EXPECT_THAT(messagesAfter(failingAnswer(kURLErrorTimedOut, "The request timed out.")),
              ElementsAre("warning: Installer 4 index failed: The request timed out."));
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Installer4] Trying index: http://repo.example/a",
                          "[Installer4] Response for http://repo.example/a -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1001 \"The request timed out.\" bytes=0"));
}

TEST_F(Installer4RepositoryFetcherTest, ATransportErrorWithoutDescriptionIsUnknown) {
  EXPECT_THAT(messagesAfter(failingAnswer(kURLErrorTimedOut, "")),
              ElementsAre("warning: Installer 4 index failed: Unknown error"));
}

TEST_F(Installer4RepositoryFetcherTest, AnErrorOutweighsTheStatusThatCameWithIt) {
  for (const int status : {200, 404}) {
    ScriptedAnswer answer = failingAnswer(kURLErrorNetworkConnectionLost, "It was cut short.");
    answer.status = status;
    answer.body = kIndex;
    EXPECT_THAT(messagesAfter(answer),
                ElementsAre("warning: Installer 4 index failed: It was cut short."))
        << status;
  }
}

TEST_F(Installer4RepositoryFetcherTest, EveryBadCandidateIsPassedOverUntilAGoodOne) {
  for (const char* body : {"", "word", "{ }", "{ packages = (); }"}) {
    session_.answerNext({.body = body});
  }
  session_.answerNext(failingAnswer(kURLErrorTimedOut, "The request timed out."));
  session_.answerNext({.status = 404});
  session_.answerNext({.body = kIndex});
  EXPECT_TRUE(walk({"a", "b", "c", "d", "e", "f", "g"}).packages);
  EXPECT_EQ(log_.messages().back(), "success: Installer 4 repository parsed: 1 package(s)");
}

TEST_F(Installer4RepositoryFetcherTest, NothingFoundEndsWithTheErrorAfter284Requests) {
  const FetchOutcome outcome = fetch();
  EXPECT_EQ(outcome.packages, std::nullopt);
  EXPECT_EQ(outcome.error, kNothingFound);
  std::vector<std::string> urls,
      reports{"info: Fetching Installer 4 repository: http://repo.example"};
  for (const std::string& path : allCandidates()) {
    const std::string& url = urls.emplace_back("http://repo.example/" + path);
    reports.push_back("[Installer4] Trying index: " + url);
    reports.push_back("info: Trying Installer 4 index: " + url);
    reports.push_back("[Installer4] Response for " + url + " -> status=404 error=(null) bytes=0");
  }
  reports.push_back("error: No Installer 4 index plist found.");
  EXPECT_THAT(session_.requestedURLs(), ElementsAreArray(urls));
  EXPECT_THAT(log_.reports(), ElementsAreArray(reports));
}

TEST_F(Installer4RepositoryFetcherTest, ACandidatesPathIsAppendedToTheRepositorysURL) {
  const auto join = [](const char* path, const char* repository) {
    return absoluteText(
        Installer4RepositoryFetcher::URLForCandidatePath(path, URL::parse(repository)));
  };
  EXPECT_EQ(join("info/index.plist", "http://repo.example/r"),
            "http://repo.example/r/info/index.plist");
  EXPECT_EQ(join("info/index.plist", "http://repo.example/r/"),
            "http://repo.example/r/info/index.plist");
  EXPECT_EQ(join("././index.plist", "http://repo.example"), "http://repo.example/index.plist");
  EXPECT_EQ(join("my index;?.plist", "http://repo.example"),
            "http://repo.example/my%20index%3B%3F.plist");
  EXPECT_EQ(join("index.plist", "http://repo.example/r?k=v"),
            "http://repo.example/r?k=v/index.plist");
}

TEST_F(Installer4RepositoryFetcherTest, EveryRequestForbidsCaches) {
  fetch();
  for (const ScriptedRequest& request : session_.requests()) {
    EXPECT_EQ(request.kind, ScriptedRequest::Kind::data);
    EXPECT_THAT(request.headers,
                ElementsAre(Pair("Cache-Control", "no-cache"), Pair("Pragma", "no-cache")));
  }
}

TEST_F(Installer4RepositoryFetcherTest, AFetcherHasOneSessionWithItsTimeouts) {
  fetch();
  ASSERT_THAT(session_.configurations(), SizeIs(1));
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForRequest, std::chrono::seconds(30));
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForResource, std::chrono::seconds(60));
}

TEST_F(Installer4RepositoryFetcherTest, WithoutAURLEveryRequestFailsAndTheWalkEnds) {
  EXPECT_EQ(fetch(std::optional<URL>()).error, kNothingFound);
  EXPECT_THAT(session_.requests(), SizeIs(284));
  EXPECT_EQ(log_.messages()[0], "info: Fetching Installer 4 repository: ");
}

TEST_F(Installer4RepositoryFetcherTest, ACandidateThatGivesNoURLIsReportedAndPassedOver) {
  // The joined text would be "/" and a host that no URL can have.
  EXPECT_EQ(walk({"/h:x"}, 0, std::nullopt).error, kNothingFound);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Trying Installer 4 index: ",
                                           "warning: Installer 4 index failed: unsupported URL",
                                           "error: No Installer 4 index plist found."));
  EXPECT_THAT(log_.lines(),
              ElementsAre("[Installer4] Trying index: (null)",
                          "[Installer4] Response for (null) -> status=0 error=Error "
                          "Domain=NSURLErrorDomain Code=-1002 \"unsupported URL\" bytes=0"));
}

TEST_F(Installer4RepositoryFetcherTest, AWalkCanStartInTheMiddleOfTheList) {
  walk({"a", "b", "c"}, 1);
  EXPECT_THAT(session_.requestedURLs(),
              ElementsAre("http://repo.example/b", "http://repo.example/c"));
}

TEST_F(Installer4RepositoryFetcherTest, AWalkThatStartsPastTheEndFailsOnTheCallersThread) {
  EXPECT_EQ(walk({"a"}, 7).thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(Installer4RepositoryFetcherTest, CompletionsComeOnABackgroundThread) {
  EXPECT_NE(fetch().thread, std::this_thread::get_id());
}

TEST_F(Installer4RepositoryFetcherTest, OneRequestOfAWalkIsInFlightAtATime) {
  session_.hold();
  const FetchOutcome outcome = outcomeOf([&](auto completion) {
    Installer4RepositoryFetcher(session_.factory())
        .tryIndexCandidatePaths(std::make_shared<const std::vector<std::string>>(20, "a"), 0,
                                kRepository, std::move(completion));
    expectOneInFlightAtATime(session_, 20);
  });
  EXPECT_EQ(outcome.error, kNothingFound);
}

TEST_F(Installer4RepositoryFetcherTest, TwoFetchesOfOneFetcherMayRunAtOnce) {
  session_.answer("http://one.example/info/index.plist", {.body = kIndex});
  const auto [one, two] = outcomesOfTwo<Installer4RepositoryFetcher>(session_);
  EXPECT_TRUE(one.packages);
  EXPECT_EQ(two.error, kNothingFound);
}

TEST_F(Installer4RepositoryFetcherTest, WithoutACompletionResultsAreDropped) {
  const auto paths = std::make_shared<const std::vector<std::string>>(1, "a");
  const Installer4RepositoryFetcher fetcher(session_.factory());
  session_.answerNext({.body = kIndex});
  session_.hold();
  fetcher.tryIndexCandidatePaths(paths, 0, kRepository, {});
  fetcher.tryIndexCandidatePaths(paths, 0, kRepository, {});
  // The session's completions come one after another, so this one is the last.
  outcomeOf([&](auto completion) {
    fetcher.tryIndexCandidatePaths(paths, 0, kRepository, std::move(completion));
    session_.releaseAll();
  });
  const std::string trying = "info: Trying Installer 4 index: http://repo.example/a";
  EXPECT_THAT(
      log_.messages(),
      ElementsAre(trying, trying, trying, "success: Using Installer 4 index: http://repo.example/a",
                  "success: Installer 4 repository parsed: 1 package(s)",
                  "error: No Installer 4 index plist found.",
                  "error: No Installer 4 index plist found."));
}

}  // namespace
}  // namespace tolvane
