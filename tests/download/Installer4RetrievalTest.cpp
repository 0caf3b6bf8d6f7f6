// SPDX-License-Identifier: MIT
#include "tests/download/Installer4RetrievalTest.h"

#include <gmock/gmock.h>

namespace tolvane {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

std::string line(const char* what, const std::string& url) {
  return what + (": " + url);
}

TEST_F(Installer4RetrievalTest, AGoodPackageIsSavedAndCountsAsVerified) {
  serve(kInfo, infoWithLocation(kZip));
  serve(kZip, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kZip));
  EXPECT_THAT(folder_.names(), ElementsAre("a.zip"));
  EXPECT_EQ(folder_.read("a.zip"), "PK");
}

TEST_F(Installer4RetrievalTest, TheLogBusIsLeftToTheQueue) {
  serve(kInfo, infoWithLocation(kZip));
  serve(kZip, "PK");
  retrieve();
  EXPECT_THAT(log_.messages(), IsEmpty());
  EXPECT_THAT(log_.lines(), ElementsAre(line("[Installer4] Fetching package info", kInfo),
                                        line("[Installer4] Downloading package ZIP", kZip)));
}

TEST_F(Installer4RetrievalTest, FallbacksAreReportedInTheSystemLog) {
  serve(kInfoMirror, infoWithLocation(kZip));
  serve(kZipMirror, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(log_.messages(), IsEmpty());
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(
          line("[Installer4] Fetching package info", kInfo),
          line("[Installer4] Original package info failed, trying mirrored fallback", kInfoMirror),
          line("[Installer4] Fetching package info", kInfoMirror),
          line("[Installer4] Downloading package ZIP", kZip),
          line("[Installer4] Original package ZIP failed, trying mirrored fallback", kZipMirror),
          line("[Installer4] Downloading package ZIP", kZipMirror)));
}

TEST_F(Installer4RetrievalTest, APackageWithoutInfoURLFailsAtOnceOnTheCallersThread) {
  const RetrievalOutcome outcome = retrieve("");
  expectFailure(outcome, Error{"Installer4", 1001, "Missing package info URL."});
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(Installer4RetrievalTest, AnInfoURLThatIsNoneFailsAtOnceOnTheCallersThread) {
  const RetrievalOutcome outcome = retrieve("http://info.example/my info.plist");
  expectFailure(outcome, Error{"Installer4", 1003, "Invalid Installer package info URL."});
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(Installer4RetrievalTest, AnInfoWithoutLocationFails) {
  for (const char* info : {"{ }", "{ location = \"\"; }", "{ Location = x; }"}) {
    session_.answerNext({.body = info});
    expectFailure(retrieve(),
                  Error{"Installer4", 1002, "Installer package plist contains no location field."});
  }
  EXPECT_THAT(session_.requests(), SizeIs(3)) << "no fallback for an info that has been read";
}

TEST_F(Installer4RetrievalTest, ALocationThatIsNoStringCountsAsAbsent) {
  for (const char* value : {"<integer>1</integer>", "<array><string>x</string></array>", "<dict/>",
                            "<data>eA==</data>", "<true/>"}) {
    session_.answerNext({.body = "<plist><dict><key>location</key>"s + value + "</dict></plist>"});
    EXPECT_EQ(retrieve().error->code, kNoLocationError) << value;
  }
}

TEST_F(Installer4RetrievalTest, AGluedFolderOfTheLocationIsCutLooseForTheRequestOnly) {
  serve(kInfo, infoWithLocation("http://zip.example/repoPackages/a.zip"));
  retrieve();
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, "http://zip.example/repo/Packages/a.zip",
                                                    "http://repo.example/Packages/a.zip"));
}

TEST_F(Installer4RetrievalTest, ALocationThatIsNoURLIsTriedInTheRepository) {
  serve(kInfo, infoWithLocation("http://my zips/packages/a.zip"));
  serve(kZipMirror, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kZipMirror));
}

TEST_F(Installer4RetrievalTest,
       ALocationThatBeginsWithTheFolderIsARelativeURLAndTriedInTheRepository) {
  serve(kInfo, infoWithLocation("packages/a.zip"));
  serve(kZipMirror, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, "/packages/a.zip", kZipMirror));
}

TEST_F(Installer4RetrievalTest, ALocationThatIsNoURLAndHasNoFallbackFails) {
  serve(kInfo, infoWithLocation("http://zip.example/my zip"));
  expectFailure(retrieve(), kInvalidZip);
  EXPECT_THAT(session_.requests(), SizeIs(1));
}

TEST_F(Installer4RetrievalTest, AFailedInfoNeverReachesTheZip) {
  expectFailure(retrieve(), kInfoMissing);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kInfoMirror));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(Installer4RetrievalTest, ARetrievalThatSentRequestsEndsOnABackgroundThread) {
  EXPECT_NE(retrieve().thread, std::this_thread::get_id());
  serve(kInfo, infoWithLocation(kZip));
  serve(kZip, "PK");
  EXPECT_NE(retrieve().thread, std::this_thread::get_id());
}

TEST_F(Installer4RetrievalTest, BothStepsUseOneSessionWithTheDefaultTimeouts) {
  serve(kInfo, infoWithLocation(kZip));
  serve(kZip, "PK");
  retrieve();
  ASSERT_THAT(session_.configurations(), SizeIs(1));
  const HTTPOptions configuration = session_.configurations()[0];
  EXPECT_EQ(configuration.timeoutIntervalForRequest, std::chrono::seconds(60));
  EXPECT_EQ(configuration.timeoutIntervalForResource, std::chrono::hours(7 * 24));
}

TEST_F(Installer4RetrievalTest, OnlyTheInfoRequestForbidsCaches) {
  serve(kInfo, infoWithLocation(kZip));
  serve(kZip, "PK");
  retrieve();
  ASSERT_THAT(session_.requests(), SizeIs(2));
  const ScriptedRequest info = session_.requests()[0], zip = session_.requests()[1];
  EXPECT_EQ(info.kind, ScriptedRequest::Kind::data);
  EXPECT_THAT(info.headers,
              ElementsAre(Pair("Cache-Control", "no-cache"), Pair("Pragma", "no-cache")));
  EXPECT_EQ(zip.kind, ScriptedRequest::Kind::download);
  EXPECT_THAT(zip.headers, IsEmpty());
  EXPECT_EQ(zip.folder, folder_.path());
}

// The information list.

TEST_F(Installer4RetrievalTest, AnInfoIsReadInEveryFormat) {
  for (const char* body :
       {"<plist><dict><key>location</key><string>x</string></dict></plist>", "{ location = x; }"}) {
    session_.answerNext({.body = body});
    const InfoOutcome outcome = fetchInfo(kInfo, kInfoMirror);
    ASSERT_TRUE(outcome.info) << body;
    EXPECT_EQ(*outcome.info->find("location")->text(), "x");
    EXPECT_EQ(outcome.error, std::nullopt);
  }
  EXPECT_THAT(session_.requests(), SizeIs(2)) << "a good info needs no fallback";
}

TEST_F(Installer4RetrievalTest, AnInfoThatIsMissingIsTakenFromTheRepositorysInfoFolder) {
  serve(kInfoMirror, infoWithLocation(kZip));
  serve(kZip, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kInfoMirror, kZip));
}

TEST_F(Installer4RetrievalTest, AnInfoURLThatIsItsOwnFallbackIsFetchedOnce) {
  expectFailure(retrieve(kInfoMirror), kInfoMissing);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfoMirror));
}

TEST_F(Installer4RetrievalTest, AFallbackThatDiffersInOneCharacterIsAnotherAddress) {
  fetchInfo("http://repo.example/info/A.plist", kInfoMirror);
  EXPECT_THAT(session_.requestedURLs(),
              ElementsAre("http://repo.example/info/A.plist", kInfoMirror));
}

TEST_F(Installer4RetrievalTest, AnInfoURLThatIsNoneLeavesTheFallback) {
  serve(kInfoMirror, infoWithLocation("x"));
  EXPECT_TRUE(fetchInfo("no url", kInfoMirror).info);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfoMirror));
}

TEST_F(Installer4RetrievalTest, AnInfoURLWithoutLastComponentHasNoFallback) {
  for (const char* url : {"http://info.example", "http://info.example/"}) {
    expectFailure(retrieve(url), kInfoMissing);
  }
  EXPECT_THAT(session_.requestedURLs(), ElementsAre("http://info.example", "http://info.example/"));
}

TEST_F(Installer4RetrievalTest, AnInfoURLMayEndInANameThatNoFileCanHave) {
  for (const char* name : {".", "..", "a%2Fb", "a%00b"}) {
    session_.answer("http://info.example/"s + name, {.body = infoWithLocation(kZip)});
    serve(kZip, "PK");
    expectSuccess(retrieve("http://info.example/"s + name));
  }
}

TEST_F(Installer4RetrievalTest, AnInfoStatusOutsideTheTwoHundredsIsTheErrorsCode) {
  for (const int status : {199, 300, 404, 500}) {
    session_.answerNext({.status = status, .body = infoWithLocation(kZip)});
    EXPECT_EQ(fetchInfo(kInfo, "no url").error,
              (Error{"Installer4", status, "Could not load Installer package info plist."}));
  }
}

TEST_F(Installer4RetrievalTest, AnInfoOfNoBytesFailsWithItsGoodStatusAndTriesTheFallback) {
  serve(kInfo, "");
  serve(kInfoMirror, "");
  expectFailure(retrieve(),
                Error{"Installer4", 200, "Could not load Installer package info plist."});
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kInfoMirror));
}

TEST_F(Installer4RetrievalTest, ATransportErrorOfTheInfoIsPassedOnAsItIs) {
  const ScriptedAnswer timeout = failingAnswer(kURLErrorTimedOut, "The request timed out.");
  session_.answer(kInfoMirror, timeout);
  expectFailure(retrieve(kInfoMirror), timeout.error);
  EXPECT_THAT(session_.requests(), SizeIs(1)) << "a timeout is not tried again";
}

TEST_F(Installer4RetrievalTest, AnInfoThatCannotBeReadFailsWithTheReadersError) {
  const std::string page = "<html><body>Welcome</body></html>";
  serve(kInfoMirror, page);
  const std::optional<Error> reason = readPropertyList(page).error;
  ASSERT_TRUE(reason);
  expectFailure(retrieve(kInfoMirror), reason);
}

TEST_F(Installer4RetrievalTest, AnInfoThatIsAListFailsWithoutError) {
  serve(kInfo, "(a, b)");
  serve(kInfoMirror, "(a, b)");
  expectFailure(retrieve(), std::nullopt);
  expectFailure(retrieve(kInfoMirror), std::nullopt);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kInfoMirror, kInfoMirror));
}

TEST_F(Installer4RetrievalTest, OfTwoErrorsTheFallbacksCounts) {
  session_.answer(kInfo, failingAnswer(kURLErrorTimedOut, "The request timed out."));
  EXPECT_EQ(fetchInfo(kInfo, kInfoMirror).error, kInfoMissing);
}

TEST_F(Installer4RetrievalTest, WhereTheFallbackGaveNoErrorTheFirstOneCounts) {
  serve(kInfoMirror, "(a, b)");
  EXPECT_EQ(fetchInfo(kInfo, kInfoMirror).error, kInfoMissing);
}

TEST_F(Installer4RetrievalTest, WhereTheFirstGaveNoErrorTheFallbacksCounts) {
  serve(kInfo, "(a, b)");
  EXPECT_EQ(fetchInfo(kInfo, kInfoMirror).error, kInfoMissing);
}

}  // namespace
}  // namespace tolvane
