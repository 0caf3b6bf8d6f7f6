// SPDX-License-Identifier: MIT
// Cancelling a run, and what may be called when.
#include <atomic>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

#include "base/NotificationCenter.h"
#include "download/DownloadQueueManager.h"
#include "model/CrawlerLogger.h"
#include "tests/download/QueueRun.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;
using testing::SizeIs;

DownloadQueueManager::PackageList packages(std::size_t count) {
  DownloadQueueManager::PackageList list(count);
  for (std::size_t i = 0; i < count; ++i) {
    list[i].setFilename("pool/" + std::to_string(i) + ".deb");
  }
  return list;
}

// Its first download does not return until it is released, so a queue of width 1 waits.
class BlockingDownloadManager : public DownloadManager {
 public:
  void downloadPackage(const PackageEntry&, const std::optional<URL>&, const std::string&,
                       Completion completion) override {
    if (!started_.exchange(true)) {
      blocked_.set_value();
      released_.get_future().wait();
    }
    completion(true, "x.deb", std::nullopt);
  }

  void waitUntilBlocked() { blocked_.get_future().wait(); }
  void release() { released_.set_value(); }

 private:
  std::atomic<bool> started_{false};
  std::promise<void> blocked_, released_;
};

// Runs what is posted at once, on the posting thread.
class ImmediateQueue : public MainQueue {
 public:
  void post(Task task) override { task(); }
};

class DownloadQueueCancellationTest : public testing::Test {
 protected:
  void start(DownloadQueueManager& queue, std::size_t count, const QueueRun& run) {
    queue.downloadPackages(packages(count), URL::parse("http://repo.example"), folder_.path(),
                           run.progress(), run.completion([this] { loop_.quit(); }));
  }

  const TemporaryFolder folder_;
  CountingRunLoop loop_;
  ScriptedHTTPClient session_;
  const LogRecorder log_;
};

TEST_F(DownloadQueueCancellationTest, IsLogged) {
  DownloadQueueManager queue(loop_, session_.factory());
  queue.cancelAllDownloads();
  EXPECT_TRUE(queue.cancelled());
  EXPECT_THAT(log_.messages(), ElementsAre("warning: Download queue cancellation requested."));
}

TEST_F(DownloadQueueCancellationTest, RightAfterTheStartDiscardsWhatWaitsAndCompletesNever) {
  const auto manager = std::make_shared<BlockingDownloadManager>();
  DownloadQueueManager queue(loop_, manager);
  queue.setMaxConcurrentDownloads(1);
  const QueueRun run;
  start(queue, 100, run);
  manager->waitUntilBlocked();
  queue.cancelAllDownloads();
  manager->release();

  EXPECT_TRUE(run.drainUntilLetGo(loop_));
  EXPECT_THAT(run.reports(), ElementsAre(ProgressReport{1, 100, 0, 0, 1, 0}))
      << "the step that had started is counted";
  EXPECT_EQ(run.summary(), std::nullopt);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Starting download queue: 100 package(s)",
                                           "warning: Download queue cancellation requested.",
                                           "success: Downloaded and verified: x.deb"));
}

TEST_F(DownloadQueueCancellationTest, LaterLetsTransfersUnderWayFinishAndBeCounted) {
  DownloadQueueManager queue(loop_, session_.factory());
  session_.hold();
  const QueueRun run;
  start(queue, 20, run);
  ASSERT_TRUE(session_.waitForRequests(20));
  queue.cancelAllDownloads();
  session_.releaseAll();
  run.runToEnd(loop_);
  EXPECT_THAT(run.summary(), Optional(Summary{20, 0, 0, 20, 0}));
  EXPECT_EQ(log_.messages().back(),
            "info: Download queue finished. Downloaded: 20  Verified: 20  Failed: 0  "
            "Validation failed: 0  Skipped: 0");
}

TEST_F(DownloadQueueCancellationTest, AStepThatStartsAfterItSkipsItsPackageSilently) {
  const auto manager = std::make_shared<BlockingDownloadManager>();
  DownloadQueueManager queue(loop_, manager);
  queue.setMaxConcurrentDownloads(1);
  const QueueRun run;
  start(queue, 2, run);
  manager->waitUntilBlocked();

  // The flag is up when the line is logged, and nothing has been discarded yet.
  const auto token = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [&](const UserInfo& info) {
        if (info.at("type") != "warning") return;
        manager->release();
        EXPECT_TRUE(loop_.waitForPosts(2));
      });
  queue.cancelAllDownloads();
  run.runToEnd(loop_);
  EXPECT_THAT(run.summary(), Optional(Summary{1, 0, 1, 1, 0}));
  EXPECT_THAT(log_.messages(), Not(Contains(HasSubstr("Skipped existing"))));
}

TEST_F(DownloadQueueCancellationTest, IsForgottenByTheNextRun) {
  DownloadQueueManager queue(loop_, session_.factory());
  queue.cancelAllDownloads();
  const QueueRun run;
  start(queue, 3, run);
  EXPECT_FALSE(queue.cancelled());
  run.runToEnd(loop_);
  EXPECT_THAT(run.summary(), Optional(Summary{3, 0, 0, 3, 0}));
}

TEST_F(DownloadQueueCancellationTest, IsForgottenByAnEmptyRunToo) {
  DownloadQueueManager queue(loop_, session_.factory());
  queue.cancelAllDownloads();
  const QueueRun run;
  start(queue, 0, run);
  EXPECT_FALSE(queue.cancelled());
}

TEST_F(DownloadQueueCancellationTest, AQueueThatIsDestroyedDiscardsWhatWaits) {
  const auto manager = std::make_shared<BlockingDownloadManager>();
  const QueueRun run;
  {
    DownloadQueueManager queue(loop_, manager);
    queue.setMaxConcurrentDownloads(1);
    start(queue, 100, run);
    manager->waitUntilBlocked();
  }
  manager->release();
  EXPECT_TRUE(run.drainUntilLetGo(loop_));
  EXPECT_THAT(run.reports(), SizeIs(1));
  EXPECT_EQ(run.summary(), std::nullopt);
}

TEST_F(DownloadQueueCancellationTest, AFinishedRunLetsGoOfItsCallbacks) {
  DownloadQueueManager queue(loop_, session_.factory());
  const QueueRun run;
  start(queue, 3, run);
  loop_.run();
  EXPECT_TRUE(run.drainUntilLetGo(loop_));
}

TEST_F(DownloadQueueCancellationTest, OutcomesAreLoggedOneAtATime) {
  std::atomic<int> logging = 0;
  std::atomic<bool> together = false;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [&](const UserInfo& userInfo) {
        if (!userInfo.at("message").starts_with("Downloaded and verified")) return;
        if (++logging > 1) together = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        --logging;
      });
  DownloadQueueManager queue(
      loop_, std::make_shared<ScriptedDownloadManager>(
                 [](const PackageEntry&, const DownloadManager::Completion& completion) {
                   completion(true, "x.deb", std::nullopt);
                 }));
  const QueueRun run;
  start(queue, 10, run);
  run.runToEnd(loop_);
  EXPECT_EQ(run.summary(), (Summary{10, 0, 0, 10, 0}));
  EXPECT_FALSE(together);
}

// A main queue that runs its tasks at once would hang on a lock that is held while it is posted to.
TEST_F(DownloadQueueCancellationTest, NoLockIsHeldWhileCallbacksArePosted) {
  ImmediateQueue immediate;
  DownloadQueueManager queue(
      immediate, std::make_shared<ScriptedDownloadManager>(
                     [](const PackageEntry&, const DownloadManager::Completion& completion) {
                       completion(true, "x.deb", std::nullopt);
                     }));
  queue.setMaxConcurrentDownloads(1);
  std::atomic<std::uint64_t> reported{0};
  const auto downloaded = std::make_shared<std::promise<std::uint64_t>>();
  queue.downloadPackages(
      packages(3), URL::parse("http://repo.example"), folder_.path(),
      [&](auto completed, auto...) { reported = completed; },
      [downloaded](auto count, auto...) { downloaded->set_value(count); });
  EXPECT_EQ(downloaded->get_future().get(), 3U);
  EXPECT_EQ(reported, 3U);
}

}  // namespace
}  // namespace tolvane
