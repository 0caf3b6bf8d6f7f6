// SPDX-License-Identifier: MIT
// Whole runs, from a server on loopback to files in a folder.
#include <algorithm>
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "base/NotificationCenter.h"
#include "download/DownloadQueueManager.h"
#include "model/CrawlerLogger.h"
#include "tests/download/QueueRun.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::Optional;

using PackageList = DownloadQueueManager::PackageList;

// The index fields of a file that holds "hello".
const PackageEntry::Dictionary kHello = {
    {"Size", "5"},
    {"MD5sum", "5d41402abc4b2a76b9719d911017c592"},
    {"SHA256", "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824"}};

// Package "foo" is at pool/foo.deb of the repository and is saved as foo.deb.
PackageEntry package(const std::string& name, PackageEntry::Dictionary fields = {}) {
  fields["Package"] = name;
  fields["Filename"] = "pool/" + name + ".deb";
  return PackageEntry(fields);
}

PackageEntry helloBut(const std::string& name, const std::string& key, const std::string& value) {
  PackageEntry::Dictionary fields = kHello;
  fields[key] = value;
  return package(name, fields);
}

PackageList numberedPackages(std::size_t count) {
  PackageList packages;
  for (std::size_t i = 0; i < count; ++i) packages.push_back(package(std::to_string(i), kHello));
  return packages;
}

class DownloadEndToEnd : public testing::Test {
 protected:
  void serve(const std::string& name, LoopbackHandler handler) {
    server_.on("/repo/pool/" + name + ".deb", std::move(handler));
  }

  void start(const PackageList& packages, const QueueRun& run) {
    queue_.downloadPackages(packages, URL::parse(server_.url("/repo")), folder_.path(),
                            run.progress(), run.completion([this] { loop_.quit(); }));
  }

  // Waits until that many messages have begun so; false when they do not come within 10 seconds.
  bool waitForMessages(std::size_t count, const std::string& beginning) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    const auto begins = [&](const std::string& message) { return message.starts_with(beginning); };
    for (;;) {
      const std::vector<std::string> messages = log_.messages();
      const auto found = std::count_if(messages.begin(), messages.end(), begins);
      if (static_cast<std::size_t>(found) >= count) return true;
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  const TemporaryFolder folder_;
  LoopbackServer server_;
  RunLoop loop_;
  DownloadQueueManager queue_{loop_};
  const LogRecorder log_;
};

TEST_F(DownloadEndToEnd, ARunOverGoodAndBadPackagesCountsEachAsWhatItIs) {
  for (const char* name : {"good", "size", "md5", "sha256"}) serve(name, respond(200, "hello"));
  serve("missing", respond(404, "no such page"));
  serve("cut", cutOff("hello", 3));
  folder_.write("present.deb", "whatever");

  const QueueRun run;
  start({package("good", kHello), helloBut("size", "Size", "6"),
         helloBut("md5", "MD5sum", "00000000000000000000000000000000"),
         helloBut("sha256", "SHA256", "0"), package("missing"), package("present", kHello),
         package("cut", kHello)},
        run);
  run.runToEnd(loop_);

  EXPECT_THAT(run.summary(), Optional(Summary{2, 4, 1, 2, 3}));
  EXPECT_EQ(run.reports().back(), (ProgressReport{7, 7, 4, 1, 2, 3}));
  EXPECT_THAT(folder_.names(), ElementsAre("good.deb", "md5.deb", "missing.deb", "present.deb",
                                           "sha256.deb", "size.deb"));
  EXPECT_EQ(folder_.read("good.deb"), "hello");
  EXPECT_EQ(folder_.read("missing.deb"), "no such page");
  EXPECT_EQ(folder_.read("present.deb"), "whatever");
  EXPECT_THAT(server_.targets(), Not(Contains(HasSubstr("present"))));
  EXPECT_EQ(log_.messages().back(),
            "info: Download queue finished. Downloaded: 2  Verified: 2  Failed: 4  "
            "Validation failed: 3  Skipped: 1");
}

TEST_F(DownloadEndToEnd, ARunCancelledRightAfterItsStartDiscardsWhatWaits) {
  server_.onAnyOther(respond(200, "hello"));
  queue_.setMaxConcurrentDownloads(1);

  // Keeps the first step from ending before the run is cancelled.
  std::promise<void> cancelled;
  const auto untilCancelled = cancelled.get_future().share();
  const auto token = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [untilCancelled](const UserInfo& info) {
        if (info.at("message").starts_with("Downloading:")) untilCancelled.wait();
      });
  const QueueRun run;
  start(numberedPackages(100), run);
  ASSERT_TRUE(waitForMessages(1, "info: Downloading:"));
  queue_.cancelAllDownloads();
  cancelled.set_value();

  EXPECT_TRUE(run.drainUntilLetGo(loop_));
  EXPECT_EQ(run.summary(), std::nullopt);
  EXPECT_THAT(run.reports(), ElementsAre(ProgressReport{1, 100, 0, 0, 1, 0}));
  EXPECT_THAT(log_.messages(), Not(Contains(HasSubstr("finished"))));
  EXPECT_THAT(folder_.names(), ElementsAre("0.deb"));
}

TEST_F(DownloadEndToEnd, ARunCancelledLaterFinishesAndCountsAllThatIsUnderWay) {
  Gate gate;
  const std::string head = responseHead(200, {{"Content-Length", "5"}});
  server_.onAnyOther(heldBy(gate, sendRaw("llo"), head + "he"));
  const QueueRun run;
  start(numberedPackages(20), run);
  ASSERT_TRUE(waitForMessages(20, "info: Downloading:"));
  queue_.cancelAllDownloads();
  EXPECT_THAT(folder_.names(), Not(Contains(HasSubstr(".deb")))) << "not before they are whole";
  gate.open();
  run.runToEnd(loop_);

  EXPECT_THAT(run.summary(), Optional(Summary{20, 0, 0, 20, 0}));
  EXPECT_EQ(folder_.names().size(), 20U);
  EXPECT_EQ(folder_.read("19.deb"), "hello");
  EXPECT_LE(server_.maximumOpenConnections(), 6U);
}

}  // namespace
}  // namespace tolvane
