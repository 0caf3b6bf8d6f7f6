// SPDX-License-Identifier: MIT
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "download/DownloadManager.h"
#include "tests/download/Outcome.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ManualClock.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

const std::string kURL = "http://repo.example/pool/foo.deb";

// Downloads into a fresh folder through a session that answers from a script.
class DownloadManagerTest : public testing::Test {
 protected:
  // A package "foo" that is to be saved as foo.deb, or with `fields` instead.
  static PackageEntry package(PackageEntry::Dictionary fields = {}) {
    fields.emplace("Package", "foo");
    fields.emplace("Version", "1.0");
    fields.emplace("Filename", "pool/foo.deb");
    return PackageEntry(fields);
  }

  Outcome downloadTo(const std::string& destination, const PackageEntry& entry) {
    PendingOutcome outcome;
    manager_.downloadPackage(entry, repository_, destination, outcome.completion());
    return outcome.wait();
  }

  Outcome download(const PackageEntry& entry) { return downloadTo(folder_.path(), entry); }

  void expectFailure(const Outcome& outcome, const Error& error) {
    EXPECT_FALSE(outcome.success);
    EXPECT_EQ(outcome.localPath, std::nullopt);
    EXPECT_EQ(outcome.error, error);
  }

  void expectSuccess(const Outcome& outcome, const std::string& localPath) {
    EXPECT_TRUE(outcome.success);
    EXPECT_EQ(outcome.localPath, localPath);
    EXPECT_EQ(outcome.error, std::nullopt);
  }

  // A name from the index that no file may get: a failure, and nothing is sent or made.
  void expectRefused(const std::string& destination, const PackageEntry& entry) {
    const Outcome outcome = downloadTo(destination, entry);
    expectFailure(outcome, posixError(EINVAL));
    EXPECT_EQ(outcome.thread, std::this_thread::get_id());
    EXPECT_THAT(log_.messages(),
                ElementsAre("error: Download failed: " + posixError(EINVAL).description));
    EXPECT_THAT(session_.requests(), IsEmpty());
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.path("foo.deb");
  const std::optional<URL> repository_ = URL::parse("http://repo.example");
  ScriptedHTTPClient session_;
  DownloadManager manager_{session_.factory()};
  const LogRecorder log_;
};

TEST_F(DownloadManagerTest, UsesOneSessionOf60SecondsAWaitAnd300ATransfer) {
  session_.answer(kURL, {200, "hello", {}});
  download(package());
  download(package({{"Filename", "pool/bar.deb"}}));
  ASSERT_THAT(session_.configurations(), SizeIs(1));
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForRequest, 60s);
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForResource, 300s);
}

TEST_F(DownloadManagerTest, APackageWithoutFilenameFailsAtOnce) {
  const Outcome outcome = download(package({{"Filename", ""}}));
  expectFailure(outcome, {"DownloadManager", 1001, "Package has no Filename field."});
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(log_.messages(), ElementsAre("error: Package has no Filename field."));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(DownloadManagerTest, AnExistingFileIsASuccessWithoutTransferOrValidation) {
  folder_.write("foo.deb", "");
  const Outcome outcome = download(package({{"Size", "5"}, {"MD5sum", "0"}}));
  expectSuccess(outcome, path_);
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(log_.messages(), ElementsAre("success: Already downloaded: foo.deb"));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_THAT(session_.requests(), IsEmpty());
  EXPECT_EQ(folder_.read("foo.deb"), "");
}

TEST_F(DownloadManagerTest, AnExistingFolderCountsAsPresent) {
  std::filesystem::create_directory(path_);
  expectSuccess(download(package()), path_);
  EXPECT_THAT(log_.messages(), ElementsAre("success: Already downloaded: foo.deb"));
}

TEST_F(DownloadManagerTest, ANameOfDotsIsPresentAsAFolderAndNothingIsWritten) {
  expectSuccess(download(package({{"Filename", "pool/.."}})), folder_.path(".."));
  expectSuccess(download(package({{"Filename", "pool/./"}})), folder_.path("."));
  EXPECT_THAT(log_.messages(),
              ElementsAre("success: Already downloaded: ..", "success: Already downloaded: ."));
  EXPECT_THAT(session_.requests(), IsEmpty());
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadManagerTest, ANameOfDotsInAFolderThatIsNotThereIsRefused) {
  expectRefused(folder_.path("new"), package({{"Filename", "pool/.."}}));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadManagerTest, ANameThatHoldsNULIsRefused) {
  expectRefused(folder_.path("new"), package({{"Filename", std::string("pool/f\0o.deb", 12)}}));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadManagerTest, ANameThatWouldLeaveTheFolderIsRefused) {
  expectRefused(folder_.path("new"), package({{"Filename", "/"}, {"Package", "../foo"}}));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadManagerTest, ANameThatIsTooLongForTheFileSystemFailsWithoutARequest) {
  const std::string longest(255, 'x');
  session_.answer("http://repo.example/pool/" + longest, {.body = "bytes"});
  EXPECT_TRUE(download(package({{"Filename", "pool/" + longest}})).success);
  const std::size_t before = session_.requests().size();
  expectFailure(download(package({{"Filename", "pool/" + longest + "x"}})),
                posixError(ENAMETOOLONG));
  EXPECT_EQ(session_.requests().size(), before);
  EXPECT_THAT(log_.messages(),
              Contains("error: Download failed: " + posixError(ENAMETOOLONG).description));
}

TEST_F(DownloadManagerTest, ATransferMayPassTheIndexsSizeBy64MiB) {
  const auto boundFor = [this](const std::string& size) {
    download(package({{"Filename", "pool/" + size + "x.deb"}, {"Size", size}}));
    return session_.requests().back().maximumFileSize;
  };
  EXPECT_EQ(boundFor("1000"), 1000 + (64U << 20));
  EXPECT_EQ(boundFor("5000000000"), 5000000000 + (64U << 20));
  for (const char* unknown : {"", "0", "many", "-1", "-99999999"}) {
    EXPECT_EQ(boundFor(unknown), std::nullopt) << unknown;
  }
}

TEST_F(DownloadManagerTest, CreatesTheFolderWithAllAboveIt) {
  session_.answer(kURL, {200, "hello", {}});
  expectSuccess(downloadTo(folder_.path("a/b/c"), package()), folder_.path("a/b/c/foo.deb"));
  EXPECT_EQ(folder_.read("a/b/c/foo.deb"), "hello");
}

TEST_F(DownloadManagerTest, AFolderThatCannotBeCreatedFailsWithTheSystemsOwnWords) {
  folder_.write("file", "");
  const Outcome outcome = downloadTo(folder_.path("file/folder"), package());
  expectFailure(outcome, posixError(ENOTDIR));
  EXPECT_EQ(outcome.thread, std::this_thread::get_id());
  EXPECT_THAT(log_.messages(), ElementsAre("error: " + posixError(ENOTDIR).description));
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(DownloadManagerTest, SavesAndVerifiesAPackage) {
  session_.answer(kURL, {200, "hello", {}});
  const Outcome outcome =
      download(package({{"Size", "5"}, {"MD5sum", "5d41402abc4b2a76b9719d911017c592"}}));
  expectSuccess(outcome, path_);
  EXPECT_NE(outcome.thread, std::this_thread::get_id());
  EXPECT_EQ(folder_.read("foo.deb"), "hello");
  EXPECT_THAT(folder_.names(), ElementsAre("foo.deb"));
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Download] " + kURL, "info: Downloading: " + kURL,
                          "[Download] Verified foo.deb", "success: Verified foo.deb"));
}

TEST_F(DownloadManagerTest, MakesOneDownloadRequestForTheFolderOfTheFile) {
  session_.answer(kURL, {200, "hello", {}});
  download(package());
  ASSERT_THAT(session_.requests(), SizeIs(1));
  EXPECT_EQ(session_.requests()[0].kind, ScriptedRequest::Kind::download);
  EXPECT_EQ(session_.requests()[0].folder, folder_.path());
  EXPECT_THAT(session_.requests()[0].headers, IsEmpty());
}

TEST_F(DownloadManagerTest, AcceptsAnErrorPageWhereTheIndexGivesNothingToCheck) {
  session_.answerNext({404, "not found", {}});
  session_.answerNext({500, "broken", {}});
  expectSuccess(download(package()), path_);
  EXPECT_EQ(folder_.read("foo.deb"), "not found");
  expectSuccess(download(package({{"Filename", "pool/bar.deb"}})), folder_.path("bar.deb"));
  EXPECT_EQ(folder_.read("bar.deb"), "broken");
}

TEST_F(DownloadManagerTest, AnErrorPageFailsWhereTheIndexGivesASize) {
  session_.answer(kURL, {404, "not found", {}});
  expectFailure(download(package({{"Size", "5"}})),
                {"DownloadManager", 2002, "Size mismatch for foo. Expected 5 bytes, got 9 bytes."});
}

TEST_F(DownloadManagerTest, AFileThatFailsValidationStaysAndIsPresentNextTime) {
  session_.answer(kURL, {200, "hello", {}});
  const Error mismatch{"DownloadManager", 2004, "SHA256 mismatch for foo."};
  expectFailure(download(package({{"SHA256", "0"}})), mismatch);
  EXPECT_EQ(folder_.read("foo.deb"), "hello");
  expectSuccess(download(package({{"SHA256", "0"}})), path_);
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Downloading: " + kURL, "error: SHA256 mismatch for foo.",
                          "success: Already downloaded: foo.deb"));
  EXPECT_THAT(session_.requests(), SizeIs(1));
}

template <typename URLArgument, typename PathArgument>
concept IsAnAttempt = requires(DownloadManager& manager, URLArgument url, PathArgument path) {
  manager.downloadPackage(PackageEntry(), url, path, 1, DownloadManager::Completion());
};
template <typename URLArgument, typename PathArgument>
concept IsADownload = requires(DownloadManager& manager, URLArgument url, PathArgument path) {
  manager.downloadPackage(PackageEntry(), url, path, DownloadManager::Completion());
};

TEST(DownloadManagerTypes, KeepARepositoryAndItsFolderApartFromAFileAndItsPath) {
  EXPECT_TRUE((IsADownload<std::optional<URL>, std::string>));
  EXPECT_TRUE((IsAnAttempt<DownloadURL, LocalPath>));
  EXPECT_FALSE((IsADownload<DownloadURL, std::string>));
  EXPECT_FALSE((IsADownload<std::optional<URL>, LocalPath>));
  EXPECT_FALSE((IsAnAttempt<std::optional<URL>, LocalPath>));
  EXPECT_FALSE((IsAnAttempt<DownloadURL, std::string>));
}

TEST_F(DownloadManagerTest, AnAttemptReplacesAnExistingFile) {
  folder_.write("foo.deb", "old");
  session_.answer(kURL, {200, "hello", {}});
  PendingOutcome outcome;
  manager_.downloadPackage(package(), DownloadURL{URL::parse(kURL)}, LocalPath{path_}, 0,
                           outcome.completion());
  expectSuccess(outcome.wait(), path_);
  EXPECT_EQ(folder_.read("foo.deb"), "hello");
}

TEST_F(DownloadManagerTest, AFileThatCannotBeMovedFails) {
  std::filesystem::create_directory(path_);
  session_.answer(kURL, {200, "hello", {}});
  PendingOutcome pending;
  manager_.downloadPackage(package(), DownloadURL{URL::parse(kURL)}, LocalPath{path_}, 0,
                           pending.completion());
  const Outcome outcome = pending.wait();
  expectFailure(outcome, posixError(EISDIR));
  EXPECT_THAT(log_.messages(), ElementsAre("error: Could not move downloaded file: " +
                                           posixError(EISDIR).description));
  EXPECT_THAT(folder_.names(), ElementsAre("foo.deb"));
}

TEST_F(DownloadManagerTest, AFailedTransferPassesTheErrorOnAndLeavesNothing) {
  session_.answer(kURL, failingAnswer(-1005, "The network connection was lost."));
  expectFailure(download(package()),
                {"NSURLErrorDomain", -1005, "The network connection was lost."});
  EXPECT_THAT(folder_.names(), IsEmpty());
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Downloading: " + kURL,
                          "error: Download failed: The network connection was lost."));
  EXPECT_THAT(log_.lines(), ElementsAre("[Download] " + kURL));
}

TEST_F(DownloadManagerTest, AFailedTransferLeavesTheFileThatIsThere) {
  folder_.write("foo.deb", "old");
  session_.answer(kURL, {200, "hel", Error{"NSURLErrorDomain", -1005, "Lost."}});
  PendingOutcome outcome;
  manager_.downloadPackage(package(), DownloadURL{URL::parse(kURL)}, LocalPath{path_}, 0,
                           outcome.completion());
  expectFailure(outcome.wait(), {"NSURLErrorDomain", -1005, "Lost."});
  EXPECT_EQ(folder_.read("foo.deb"), "old");
}

TEST_F(DownloadManagerTest, AnErrorWithoutDescriptionIsLoggedAsUnknown) {
  session_.answer(kURL, failingAnswer(-1004, ""));
  expectFailure(download(package()), {"NSURLErrorDomain", -1004, ""});
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Downloading: " + kURL, "error: Download failed: Unknown error"));
}

TEST_F(DownloadManagerTest, AURLThatDoesNotParseFails) {
  expectFailure(download(package({{"Filename", "pool/a b.deb"}})),
                {"NSURLErrorDomain", -1002, "unsupported URL"});
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Downloading: ", "error: Download failed: unsupported URL"));
  EXPECT_THAT(log_.lines(), ElementsAre("[Download] (null)"));
}

TEST_F(DownloadManagerTest, OnlyATimeoutIsRetried) {
  session_.answerNext(failingAnswer(-1004, "Could not connect to the server."));
  session_.answerNext({200, "hello", {}});
  EXPECT_FALSE(download(package()).success);
  EXPECT_THAT(session_.requests(), SizeIs(1));
}

TEST_F(DownloadManagerTest, AnAttemptWithoutRetriesLeftFailsAtTheFirstTimeout) {
  session_.answer(kURL, failingAnswer(-1001, "The request timed out."));
  PendingOutcome outcome;
  manager_.downloadPackage(package(), DownloadURL{URL::parse(kURL)}, LocalPath{path_}, 0,
                           outcome.completion());
  expectFailure(outcome.wait(), {"NSURLErrorDomain", -1001, "The request timed out."});
  EXPECT_THAT(log_.messages(), ElementsAre("error: Download failed: The request timed out."));
  EXPECT_THAT(session_.requests(), SizeIs(1));
}

// The error's domain does not matter.
TEST_F(DownloadManagerTest, ATimeoutIsRetriedAfterTwoSeconds) {
  ManualClock clock;
  session_.answer(kURL, {0, "", Error{"Elsewhere", -1001, "Late."}});
  session_.answer(kURL, {200, "hello", {}});
  const PendingOutcome outcome;
  manager_.downloadPackage(package(), repository_, folder_.path(), outcome.completion());
  ASSERT_TRUE(clock.waitForTasks(1));
  clock.advance(1999ms);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kURL));
  clock.advance(1ms);
  expectSuccess(outcome.wait(), path_);
  EXPECT_EQ(folder_.read("foo.deb"), "hello");
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kURL, kURL));
  EXPECT_THAT(log_.reports(),
              ElementsAre("[Download] " + kURL, "info: Downloading: " + kURL,
                          "[Download] Timeout, retrying once: " + kURL,
                          "warning: Timeout, retrying once: " + kURL, "[Download] Verified foo.deb",
                          "success: Verified foo.deb"));
}

TEST_F(DownloadManagerTest, ASecondTimeoutFails) {
  ManualClock clock;
  clock.skipDelays();
  session_.answer(kURL, failingAnswer(-1001, "The request timed out."));
  expectFailure(download(package()), {"NSURLErrorDomain", -1001, "The request timed out."});
  EXPECT_EQ(clock.elapsed(), 2s);
  EXPECT_THAT(session_.requestedURLs(), ElementsAre(kURL, kURL));
  EXPECT_THAT(log_.reports(), ElementsAre("[Download] " + kURL, "info: Downloading: " + kURL,
                                          "[Download] Timeout, retrying once: " + kURL,
                                          "warning: Timeout, retrying once: " + kURL,
                                          "error: Download failed: The request timed out."));
}

TEST_F(DownloadManagerTest, EachTimeoutTakesOneOfTheRetriesLeft) {
  ManualClock clock;
  clock.skipDelays();
  session_.answer(kURL, failingAnswer(-1001, "The request timed out."));
  PendingOutcome outcome;
  manager_.downloadPackage(package(), DownloadURL{URL::parse(kURL)}, LocalPath{path_}, 2,
                           outcome.completion());
  expectFailure(outcome.wait(), {"NSURLErrorDomain", -1001, "The request timed out."});
  EXPECT_EQ(clock.elapsed(), 4s);
  EXPECT_THAT(session_.requests(), SizeIs(3));
}

TEST_F(DownloadManagerTest, ADownloadOutlivesItsManager) {
  session_.answer(kURL, {200, "hello", {}});
  session_.hold();
  PendingOutcome outcome;
  {
    DownloadManager manager(session_.factory());
    manager.downloadPackage(package(), repository_, folder_.path(), outcome.completion());
  }
  session_.releaseAll();
  expectSuccess(outcome.wait(), path_);
}

}  // namespace
}  // namespace tolvane
