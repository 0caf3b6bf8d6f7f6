// SPDX-License-Identifier: MIT
#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "download/DownloadQueueManager.h"
#include "tests/download/QueueRun.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;
using testing::SizeIs;
using testing::UnorderedElementsAre;

using PackageList = DownloadQueueManager::PackageList;

constexpr const char* kWrongMD5 = "00000000000000000000000000000000";

// Package "foo" is at pool/foo.deb of the repository and is saved as foo.deb.
PackageEntry package(const std::string& name, PackageEntry::Dictionary fields = {}) {
  fields.emplace("Package", name);
  fields.emplace("Filename", "pool/" + name + ".deb");
  return PackageEntry(fields);
}

// Every package arrives as "hello", unless the test answers otherwise.
class DownloadQueueManagerTest : public testing::Test {
 protected:
  void serve(const std::string& name, ScriptedAnswer answer = {200, "hello", {}}) {
    session_.answer("http://repo.example/pool/" + name + ".deb", std::move(answer));
  }

  void start(DownloadQueueManager& queue, const PackageList& packages, const QueueRun& run) {
    queue.downloadPackages(packages, repository_, folder_.path(), run.progress(),
                           run.completion([this] { loop_.quit(); }));
  }

  Summary runToEnd(DownloadQueueManager& queue, const PackageList& packages) {
    const QueueRun run;
    start(queue, packages, run);
    run.runToEnd(loop_);
    return run.summary().value_or(Summary());
  }

  // The summary of a run of one package whose download ends as scripted.
  Summary runScripted(const PackageEntry& entry, bool success,
                      const std::optional<std::string>& localPath,
                      const std::optional<Error>& error) {
    DownloadQueueManager queue(
        loop_, std::make_shared<ScriptedDownloadManager>(
                   [=](const PackageEntry&, const DownloadManager::Completion& completion) {
                     completion(success, localPath, error);
                   }));
    return runToEnd(queue, {entry});
  }

  // All but the lines of the download manager.
  std::vector<std::string> queueMessages() const {
    std::vector<std::string> messages = log_.messages();
    std::erase_if(messages, [](const std::string& message) {
      return message.starts_with("info: Downloading:") || message.starts_with("success: Verified");
    });
    return messages;
  }

  const TemporaryFolder folder_;
  const std::optional<URL> repository_ = URL::parse("http://repo.example");
  CountingRunLoop loop_;
  ScriptedHTTPClient session_;
  DownloadQueueManager queue_{loop_, session_.factory()};
  const LogRecorder log_;
};

TEST_F(DownloadQueueManagerTest, Starts5StepsAtOnceAtFirst) {
  EXPECT_EQ(queue_.maxConcurrentDownloads(), 5);
  EXPECT_FALSE(queue_.cancelled());
}

TEST_F(DownloadQueueManagerTest, RaisesAWidthBelow1To1AndHasNoUpperBound) {
  queue_.setMaxConcurrentDownloads(0);
  EXPECT_EQ(queue_.maxConcurrentDownloads(), 1);
  queue_.setMaxConcurrentDownloads(50);
  EXPECT_EQ(queue_.maxConcurrentDownloads(), 50);
  queue_.setMaxConcurrentDownloads(-3);
  EXPECT_EQ(queue_.maxConcurrentDownloads(), 1);
}

TEST_F(DownloadQueueManagerTest, TheMissingScanKeepsWhatTheFolderLacksInOrder) {
  folder_.write("b.deb", "");
  const PackageList missing = DownloadQueueManager::missingPackagesFromPackages(
      {package("c"), package("b"), package("a"), package("d")}, folder_.path());
  ASSERT_THAT(missing, SizeIs(3));
  EXPECT_EQ(missing[0].packageName(), "c");
  EXPECT_EQ(missing[1].packageName(), "a");
  EXPECT_EQ(missing[2].packageName(), "d");
}

TEST_F(DownloadQueueManagerTest, TheMissingScanLooksAtNamesAlone) {
  folder_.write("corrupt.deb", "x");
  folder_.write("folder.deb/file", "");
  folder_.write("_1.0.deb", "");
  EXPECT_THAT(DownloadQueueManager::missingPackagesFromPackages(
                  {package("corrupt", {{"Size", "5"}, {"MD5sum", kWrongMD5}}), package("folder"),
                   package("", {{"Version", "1.0"}, {"Filename", ""}})},
                  folder_.path()),
              IsEmpty());
}

TEST_F(DownloadQueueManagerTest, TheMissingScanTakesTheDebNameOfEveryKindOfPackage) {
  folder_.write("foo.zip", "");
  const PackageEntry zipped = package("foo", {{"Installer4Package", "1"},
                                              {"Filename", "http://repo.example/info/foo.plist"},
                                              {"PackageInfoURL", "info/foo.plist"}});
  EXPECT_THAT(DownloadQueueManager::missingPackagesFromPackages({zipped}, folder_.path()),
              SizeIs(1));
  folder_.write("foo.plist", "");
  EXPECT_THAT(DownloadQueueManager::missingPackagesFromPackages({zipped}, folder_.path()),
              IsEmpty());
}

TEST_F(DownloadQueueManagerTest, AnEmptyListCompletesAtOnceWithoutProgressOrSummary) {
  const QueueRun run;
  queue_.downloadPackages({}, repository_, folder_.path(), run.progress(), run.completion());
  EXPECT_THAT(run.summary(), Optional(Summary{0, 0, 0, 0, 0}));
  loop_.drain();
  EXPECT_THAT(run.reports(), IsEmpty());
  EXPECT_THAT(log_.messages(), ElementsAre("info: Starting download queue: 0 package(s)",
                                           "warning: Download queue is empty."));
}

TEST_F(DownloadQueueManagerTest, CallbacksMayBeMissing) {
  queue_.downloadPackages({}, repository_, folder_.path(), {}, {});
  serve("a");
  queue_.downloadPackages({package("a")}, repository_, folder_.path(), {}, {});
  ASSERT_TRUE(loop_.waitForPosts(1));
  loop_.drain();
  EXPECT_THAT(log_.messages(),
              Contains("info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                       "Validation failed: 0  Skipped: 0"));
}

TEST_F(DownloadQueueManagerTest, CountsAPresentAVerifiedAndAMismatchedPackageOnceEach) {
  folder_.write("present.deb", "");
  serve("good");
  serve("bad");
  EXPECT_EQ(runToEnd(queue_, {package("present"), package("good"),
                              package("bad", {{"MD5sum", kWrongMD5}})}),
            (Summary{1, 1, 1, 1, 1}));
  EXPECT_EQ(log_.messages().front(), "info: Starting download queue: 3 package(s)");
  EXPECT_EQ(log_.messages().back(),
            "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 1  "
            "Validation failed: 1  Skipped: 1");
}

TEST_F(DownloadQueueManagerTest, NamesEachCounterInTheSummaryLine) {
  // Five counters of which no two are alike cannot be had, since a success counts as verified.
  for (const char* name : {"p1", "p2", "p3", "p4"}) folder_.write(std::string(name) + ".deb", "");
  serve("good");
  for (const char* name : {"bad1", "bad2"}) serve(name);
  serve("cut", failingAnswer(-1005, "The network connection was lost."));
  EXPECT_EQ(runToEnd(queue_, {package("p1"), package("p2"), package("p3"), package("p4"),
                              package("good"), package("bad1", {{"Size", "4"}}),
                              package("bad2", {{"SHA256", "0"}}), package("cut")}),
            (Summary{1, 3, 4, 1, 2}));
  EXPECT_EQ(log_.messages().back(),
            "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 3  "
            "Validation failed: 2  Skipped: 4");
}

TEST_F(DownloadQueueManagerTest, AnExistingFileIsSkippedWithoutARequest) {
  folder_.write("foo.deb", "");
  EXPECT_EQ(runToEnd(queue_, {package("foo", {{"Size", "5"}})}), (Summary{0, 0, 1, 0, 0}));
  EXPECT_THAT(queueMessages(), Contains("success: Skipped existing file: foo.deb"));
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(DownloadQueueManagerTest, ANameOfDotsIsSkippedAsTheFolderThatItIs) {
  EXPECT_EQ(runToEnd(queue_,
                     {package("x", {{"Filename", "pool/.."}}), package("y", {{"Filename", "."}})}),
            (Summary{0, 0, 2, 0, 0}));
  EXPECT_THAT(queueMessages(), Contains("success: Skipped existing file: .."));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadQueueManagerTest, ANameThatHoldsNULFails) {
  EXPECT_EQ(runToEnd(queue_, {package("x", {{"Filename", std::string("pool/f\0o.deb", 12)}})}),
            (Summary{0, 1, 0, 0, 0}));
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(DownloadQueueManagerTest, ASuccessIsLoggedWithTheNameOfItsFile) {
  serve("foo");
  runToEnd(queue_, {package("foo")});
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Starting download queue: 1 package(s)",
                          "info: Downloading: http://repo.example/pool/foo.deb",
                          "success: Verified foo.deb", "success: Downloaded and verified: foo.deb",
                          "info: Download queue finished. Downloaded: 1  Verified: 1  Failed: 0  "
                          "Validation failed: 0  Skipped: 0"));
}

TEST_F(DownloadQueueManagerTest, AFailureIsLoggedTwice) {
  serve("foo", failingAnswer(-1004, "Could not connect to the server."));
  runToEnd(queue_, {package("foo")});
  EXPECT_THAT(log_.messages(),
              ElementsAre("info: Starting download queue: 1 package(s)",
                          "info: Downloading: http://repo.example/pool/foo.deb",
                          "error: Download failed: Could not connect to the server.",
                          "error: Download failed: Could not connect to the server.",
                          "info: Download queue finished. Downloaded: 0  Verified: 0  Failed: 1  "
                          "Validation failed: 0  Skipped: 0"));
}

TEST_F(DownloadQueueManagerTest, AValidationFailureIsLoggedWithItsDescription) {
  serve("foo");
  runToEnd(queue_, {package("foo", {{"MD5sum", kWrongMD5}})});
  EXPECT_THAT(queueMessages(), Contains("error: MD5 mismatch for foo."));
  EXPECT_THAT(queueMessages(), Contains("error: Download failed: MD5 mismatch for foo."));
}

TEST_F(DownloadQueueManagerTest, APackageWithoutFilenameFails) {
  EXPECT_EQ(runToEnd(queue_, {package("foo", {{"Filename", ""}})}), (Summary{0, 1, 0, 0, 0}));
  EXPECT_THAT(queueMessages(), Contains("error: Download failed: Package has no Filename field."));
}

TEST_F(DownloadQueueManagerTest, AMismatchOfSizeMD5OrSHA256CountsAsAFailedValidation) {
  for (const int code : {2002, 2003, 2004}) {
    EXPECT_EQ(runScripted(package("foo"), false, {}, Error{"DownloadManager", code, "Mismatch."}),
              (Summary{0, 1, 0, 0, 1}));
  }
}

TEST_F(DownloadQueueManagerTest, EveryOtherErrorCountsAsFailedAlone) {
  const Summary failed{0, 1, 0, 0, 0};
  EXPECT_EQ(runScripted(package("foo"), false, {},
                        Error{"DownloadManager", 2001, "Downloaded file does not exist."}),
            failed);
  EXPECT_EQ(runScripted(package("foo"), false, {}, Error{"DownloadManager", 1001, "No."}), failed);
  EXPECT_EQ(runScripted(package("foo"), false, {}, Error{"Elsewhere", 2002, "No."}), failed);
}

TEST_F(DownloadQueueManagerTest, ASuccessWithoutTransferCountsAsDownloadedAndVerified) {
  // The file comes between the look of the step and that of the download manager.
  const auto manager = std::make_shared<DownloadManager>(session_.factory());
  DownloadQueueManager queue(
      loop_, std::make_shared<ScriptedDownloadManager>(
                 [&](const PackageEntry& entry, const DownloadManager::Completion& completion) {
                   folder_.write("foo.deb", "");
                   manager->downloadPackage(entry, repository_, folder_.path(), completion);
                 }));
  EXPECT_EQ(runToEnd(queue, {package("foo")}), (Summary{1, 0, 0, 1, 0}));
  EXPECT_THAT(log_.messages(), Contains("success: Already downloaded: foo.deb"));
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(DownloadQueueManagerTest, AnOutcomeWithoutPathOrErrorIsLoggedWithTheFilename) {
  runScripted(package("foo"), true, std::nullopt, {});
  runScripted(package("foo"), false, {}, std::nullopt);
  EXPECT_THAT(queueMessages(), Contains("success: Downloaded and verified: pool/foo.deb"));
  EXPECT_THAT(queueMessages(), Contains("error: Download failed: pool/foo.deb"));
}

TEST_F(DownloadQueueManagerTest, AnOutcomeWithoutAnyNameIsLoggedAsUnknown) {
  runScripted(PackageEntry(), true, std::nullopt, {});
  runScripted(PackageEntry(), false, {}, std::nullopt);
  EXPECT_THAT(queueMessages(), Contains("success: Downloaded and verified: Unknown file"));
  EXPECT_THAT(queueMessages(), Contains("error: Download failed: Unknown error"));
}

TEST_F(DownloadQueueManagerTest, AFileThatFailedValidationIsSkippedByTheNextRun) {
  serve("foo");
  const PackageList packages{package("foo", {{"Size", "4"}})};
  EXPECT_EQ(runToEnd(queue_, packages), (Summary{0, 1, 0, 0, 1}));
  EXPECT_EQ(runToEnd(queue_, packages), (Summary{0, 0, 1, 0, 0}));
  EXPECT_EQ(folder_.read("foo.deb"), "hello");
}

TEST_F(DownloadQueueManagerTest, ReportsProgressOncePerPackageAndThenCompletes) {
  folder_.write("present.deb", "");
  serve("good");
  serve("bad");
  QueueRun run;
  std::size_t reportsBefore = 0;
  queue_.setMaxConcurrentDownloads(1);
  queue_.downloadPackages({package("present"), package("good"), package("bad", {{"Size", "4"}})},
                          repository_, folder_.path(), run.progress(), run.completion([&] {
                            reportsBefore = run.reports().size();
                            loop_.quit();
                          }));
  run.runToEnd(loop_);
  EXPECT_EQ(reportsBefore, 3U);
  EXPECT_THAT(run.reports(), SizeIs(3));
  EXPECT_EQ(run.reports().back(), (ProgressReport{3, 3, 1, 1, 1, 1}));
}

TEST_F(DownloadQueueManagerTest, HandsTheCountersOfARunOverAsOneStruct) {
  folder_.write("present.deb", "");
  serve("good");
  serve("bad");
  std::vector<std::string> lines;
  queue_.setMaxConcurrentDownloads(1);
  queue_.startRun(
      {package("present"), package("good"), package("bad", {{"Size", "4"}})}, repository_,
      folder_.path(),
      [&](const DownloadCounters& counters, std::uint64_t total) {
        lines.push_back(progressText(counters, total));
      },
      [&](const DownloadCounters& counters) {
        lines.push_back(summaryText(counters));
        loop_.quit();
      });
  loop_.run();
  ASSERT_THAT(lines, SizeIs(4));
  EXPECT_EQ(lines[2], "3 / 3   Verified: 1   Failed: 1   Validation failed: 1   Skipped: 1");
  EXPECT_EQ(lines[3], "Downloaded: 1  Verified: 1  Failed: 1  Validation failed: 1  Skipped: 1");
}

TEST_F(DownloadQueueManagerTest, ReportsTheProgressOfEachOutcomeAsItComes) {
  for (const char* name : {"a", "b", "c"}) serve(name);
  session_.hold();
  QueueRun run;
  start(queue_, {package("a"), package("b"), package("c")}, run);
  ASSERT_TRUE(session_.waitForRequests(3));
  loop_.drain();
  EXPECT_THAT(run.reports(), IsEmpty()) << "nothing is reported at the start";
  for (std::uint64_t done = 1; done <= 3; ++done) {
    session_.release(1);
    ASSERT_TRUE(loop_.waitForPosts(done));
    loop_.drain();
    ASSERT_THAT(run.reports(), SizeIs(done));
    EXPECT_EQ(run.reports().back(), (ProgressReport{done, 3, 0, 0, done, 0}));
  }
  run.runToEnd(loop_);
  EXPECT_THAT(run.summary(), Optional(Summary{3, 0, 0, 3, 0}));
}

TEST_F(DownloadQueueManagerTest, ReadsTheCountersWhenProgressIsCalled) {
  for (const char* name : {"a", "b", "c"}) serve(name);
  QueueRun run;
  start(queue_, {package("a"), package("b"), package("c")}, run);
  ASSERT_TRUE(loop_.waitForPosts(4)) << "three reports and the final step";
  run.runToEnd(loop_);
  EXPECT_THAT(run.reports(), SizeIs(3));
  EXPECT_THAT(run.reports(), Each(ProgressReport({3, 3, 0, 0, 3, 0})));
}

TEST_F(DownloadQueueManagerTest, StepsDoNotWaitForTransfers) {
  session_.hold();
  queue_.setMaxConcurrentDownloads(1);
  const QueueRun run;
  start(queue_, {package("a"), package("b"), package("c")}, run);
  EXPECT_TRUE(session_.waitForRequests(3));
  session_.releaseAll();
  run.runToEnd(loop_);
}

TEST_F(DownloadQueueManagerTest, RunsKeepTheirOwnCounters) {
  folder_.write("present.deb", "");
  serve("good");
  session_.hold();
  QueueRun first, second;
  start(queue_, {package("good")}, first);
  start(queue_, {package("present"), package("present")}, second);
  loop_.run();
  EXPECT_THAT(second.summary(), Optional(Summary{0, 0, 2, 0, 0}));
  EXPECT_EQ(first.summary(), std::nullopt);
  session_.releaseAll();
  first.runToEnd(loop_);
  EXPECT_THAT(first.summary(), Optional(Summary{1, 0, 0, 1, 0}));
}

TEST_F(DownloadQueueManagerTest, ARunOutlivesItsQueue) {
  serve("foo");
  session_.hold();
  QueueRun run;
  {
    DownloadQueueManager queue(loop_, session_.factory());
    start(queue, {package("foo")}, run);
    ASSERT_TRUE(session_.waitForRequests(1));
  }
  session_.releaseAll();
  run.runToEnd(loop_);
  EXPECT_THAT(run.summary(), Optional(Summary{1, 0, 0, 1, 0}));
}

TEST_F(DownloadQueueManagerTest, KnowsWhetherTheRunHasInstaller4Packages) {
  folder_.write("foo.deb", "");
  runToEnd(queue_, {package("foo"), package("foo", {{"Installer4Package", "1"}})});
  EXPECT_TRUE(queue_.hasInstaller4Packages());
  runToEnd(queue_, {package("foo")});
  EXPECT_FALSE(queue_.hasInstaller4Packages());
  runToEnd(queue_, {package("foo", {{"Installer4Package", "1"}})});
  runToEnd(queue_, {});
  EXPECT_FALSE(queue_.hasInstaller4Packages());
}

}  // namespace
}  // namespace tolvane
