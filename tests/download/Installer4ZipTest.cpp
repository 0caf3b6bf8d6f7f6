// SPDX-License-Identifier: MIT
// The ZIP file of a package.
#include <gmock/gmock.h>

#include "tests/download/Installer4RetrievalTest.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(Installer4RetrievalTest, AZipThatFailsIsTakenFromTheRepositorysPackagesFolder) {
  serve(kInfo, infoWithLocation(kZip));
  serve(kZipMirror, "PK");
  expectSuccess(retrieve());
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kZip, kZipMirror));
  EXPECT_THAT(folder_.names(), ElementsAre("a.zip"));
}

TEST_F(Installer4RetrievalTest, AFallbackIsSavedUnderItsOwnName) {
  serve("http://zip.example/b%20c.zip?mirror=1", "PK");
  expectSuccess(downloadZip("http://zip.example/a.zip", "http://zip.example/b%20c.zip?mirror=1"));
  EXPECT_THAT(folder_.names(), ElementsAre("b c.zip"));
}

TEST_F(Installer4RetrievalTest, AZipWithoutPackagesFolderHasNoFallback) {
  serve(kInfo, infoWithLocation("http://zip.example/a.zip"));
  expectFailure(retrieve(), kZipMissing);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, "http://zip.example/a.zip"));
}

TEST_F(Installer4RetrievalTest, AZipThatIsItsOwnFallbackIsTriedOnce) {
  serve(kInfo, infoWithLocation(kZipMirror));
  expectFailure(retrieve(), kZipMissing);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kZipMirror));
}

TEST_F(Installer4RetrievalTest, AfterAFailedFallbackNothingMoreIsTried) {
  serve(kInfo, infoWithLocation(kZip));
  const ScriptedAnswer lost = failingAnswer(kURLErrorNetworkConnectionLost, "It was lost.");
  session_.answer(kZipMirror, lost);
  expectFailure(retrieve(), lost.error);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kInfo, kZip, kZipMirror));
}

TEST_F(Installer4RetrievalTest, ATransportErrorOfTheZipIsPassedOnAsItIs) {
  const ScriptedAnswer timeout = failingAnswer(kURLErrorTimedOut, "The request timed out.");
  session_.answer(kZip, timeout);
  expectFailure(downloadZip(kZip), timeout.error);
  EXPECT_THAT(session_.requests(), SizeIs(1)) << "a timeout is not tried again";
}

TEST_F(Installer4RetrievalTest, AZipStatusOutsideTheTwoHundredsIsTheErrorsCode) {
  for (const int status : {199, 300, 404, 500}) {
    session_.answerNext({.status = status, .body = "PK"});
    expectFailure(downloadZip(kZip),
                  Error{"Installer4", status, "Could not download Installer package ZIP."});
  }
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(Installer4RetrievalTest, AZipOfNoBytesIsSaved) {
  session_.answer(kZip, {.status = 204});
  expectSuccess(downloadZip(kZip));
  EXPECT_EQ(folder_.read("a.zip"), "");
}

TEST_F(Installer4RetrievalTest, AnExistingFileIsReplaced) {
  folder_.write("a.zip", "old");
  serve(kZip, "new");
  expectSuccess(downloadZip(kZip));
  EXPECT_EQ(folder_.read("a.zip"), "new");
}

TEST_F(Installer4RetrievalTest, AFailedZipLeavesTheExistingFile) {
  folder_.write("a.zip", "old");
  expectFailure(downloadZip(kZip), kZipMissing);
  EXPECT_EQ(folder_.read("a.zip"), "old");
}

TEST_F(Installer4RetrievalTest, AFolderInTheWayStaysWithAllThatIsInIt) {
  folder_.write("a.zip/kept", "old");
  serve(kZip, "new");
  const RetrievalOutcome outcome = downloadZip(kZip);
  EXPECT_FALSE(outcome.success);
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->domain, kPOSIXErrorDomain);
  EXPECT_EQ(folder_.read("a.zip/kept"), "old");
  EXPECT_THAT(folder_.names(), ElementsAre("a.zip"));
}

TEST_F(Installer4RetrievalTest, TheFolderIsMadeWhenTheZipHasArrived) {
  const std::string folder = folder_.path("new/folder");
  expectFailure(downloadZip(kZip, "no url", folder), kZipMissing);
  EXPECT_THAT(folder_.names(), IsEmpty());
  serve(kZip, "PK");
  expectSuccess(downloadZip(kZip, "no url", folder));
  EXPECT_EQ(folder_.read("new/folder/a.zip"), "PK");
}

TEST_F(Installer4RetrievalTest, AFolderThatCannotBeMadeFailsTheMove) {
  folder_.write("file", "old");
  serve(kZip, "PK");
  const RetrievalOutcome outcome = downloadZip(kZip, "no url", folder_.path("file/folder"));
  EXPECT_FALSE(outcome.success);
  ASSERT_TRUE(outcome.error);
  EXPECT_EQ(outcome.error->domain, kPOSIXErrorDomain);
  EXPECT_EQ(folder_.read("file"), "old");
}

TEST_F(Installer4RetrievalTest, AZipURLWithoutAUsableNameFailsWithoutARequest) {
  for (const char* url : {"http://zip.example", "http://zip.example/", "http://zip.example?a.zip",
                          "http://zip.example/packages/.", "http://zip.example/packages/..",
                          "http://zip.example/%2E%2E", "http://zip.example/packages/a%2Fb.zip",
                          "http://zip.example/packages/%2F", "http://zip.example/a%00.zip"}) {
    expectFailure(downloadZip(url), kInvalidZip);
  }
  EXPECT_THAT(session_.requests(), IsEmpty());
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(Installer4RetrievalTest, AZipNameWithAControlCharacterFailsWithoutARequest) {
  for (const char* name :
       {"a%0Ab.zip", "a%0D.zip", "%1B%5B2J.zip", "a%7F.zip", "a%C2%9B1m.zip", "%09.zip"}) {
    expectFailure(downloadZip(std::string("http://zip.example/") + name),
                  Error{"Installer4", 1004, "Invalid Installer package ZIP URL."});
  }
  EXPECT_THAT(session_.requests(), IsEmpty());
  serve("http://zip.example/%C3%A9%C2%A0%20.zip", "PK");
  expectSuccess(downloadZip("http://zip.example/%C3%A9%C2%A0%20.zip"));
}

TEST_F(Installer4RetrievalTest, AZipNameThatIsTooLongForTheFileSystemFailsWithoutARequest) {
  const std::string longest = std::string(251, 'x') + ".zip";
  expectFailure(downloadZip("http://zip.example/x" + longest), posixError(ENAMETOOLONG));
  EXPECT_THAT(session_.requests(), IsEmpty());
  serve("http://zip.example/" + longest, "PK");
  expectSuccess(downloadZip("http://zip.example/" + longest));
}

TEST_F(Installer4RetrievalTest, AZipURLThatIsNoneFailsAtOnceOnTheCallersThread) {
  const RetrievalOutcome outcome = downloadZip("no url");
  expectFailure(outcome, kInvalidZip);
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
}  // namespace tolvane
