// SPDX-License-Identifier: MIT
#include <QTimer>
#include <ctime>
#include <fstream>
#include <iostream>

#include "archive_client/CentralArchiveClient.h"
#include "tests/support/CentralArchiveServer.h"
#include "tests/ui/support/LastingQueue.h"
#include "tests/ui/support/Workflow.h"

namespace tolvane {
namespace {

constexpr int kPackages = 5000;
constexpr int kUploads = 8;
constexpr int kLongestWork = 50;   // milliseconds
constexpr int kLongestWait = 250;  // milliseconds, for a machine that is busy with other work

// Beats as often as the event loop lets it, and measures how long the loop could not: for how much
// of that the main thread worked, and for how much it waited, be it for a lock, a disk or its turn
// on the processor.
class Heartbeat {
 public:
  Heartbeat() {
    QObject::connect(&timer_, &QTimer::timeout, [this] { beat(); });
    last_ = now();
    timer_.start(1);
  }
  ~Heartbeat() {
    EXPECT_LT(longestWork_, kLongestWork) << "the main thread worked too long at a time";
    EXPECT_LT(longestWait_, kLongestWait) << "the main thread was blocked";
    std::cout << "worst gap: " << longestGap_ << " ms, worst work: " << longestWork_
              << " ms, worst wait: " << longestWait_ << " ms\n";
    testing::Test::RecordProperty("worst gap in ms", static_cast<int>(longestGap_));
  }

 private:
  struct Times {
    double wall;
    double work;
  };

  static double read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
  }
  static Times now() { return {read(CLOCK_MONOTONIC), read(CLOCK_THREAD_CPUTIME_ID)}; }

  void beat() {
    const Times time = now();
    const double gap = time.wall - last_.wall;
    const double work = time.work - last_.work;
    longestGap_ = std::max(longestGap_, gap);
    longestWork_ = std::max(longestWork_, work);
    longestWait_ = std::max(longestWait_, gap - work);
    last_ = time;
  }

  QTimer timer_;
  Times last_{};
  double longestGap_ = 0;
  double longestWork_ = 0;
  double longestWait_ = 0;
};

// Runs in Qt's own event loop, as the program does.
class LargeRun : public testing::Test {
 protected:
  LargeRun() {
    controller.resize(1030, 614);
    controller.show();
    std::string index;
    for (int i = 0; i < kPackages; ++i) {
      const ServedPackage package{"p" + std::to_string(i), "some bytes"};
      index += package.stanza();
    }
    server.on("/repo/Packages", respond(200, index));
    server.onAnyOther(respond(200, "some bytes"));
  }

  bool waitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 120'000);
  }

  void fetchAll() {
    c.repoURLField->setText(toQString(server.url("/repo/")));
    c.fetchButton->click();
    ASSERT_TRUE(waitFor([&] { return c.fetchButton->isEnabled(); }));
    ASSERT_EQ(controller.packages().size(), static_cast<std::size_t>(kPackages));
  }

  void archiveAll() {
    c.checkArchiveButton->click();
    ASSERT_TRUE(waitFor([&] { return !dialogs.shown.empty(); }));
    dialogs.shown[0].answered(0);
    ASSERT_TRUE(waitFor([&] { return status().starts_with("Archive complete."); }));
  }

  static std::string entryOf(const std::string& name) {
    return R"({"version":"1","identifier":")" + name + "\"}";
  }
  static std::string missing(const std::string& entries) {
    return R"({"ok":true,"missing_packages":[)" + entries + "]}";
  }

  std::string status() const { return toText(c.statusLabel->text()); }

  QtMainQueue& queue = lastingQueue();
  ScriptedDialogs dialogs;
  LoopbackServer server;
  TemporaryFolder folder;
  ViewController controller{queue, dialogs};
  const MainWindowControls& c = controller.controls();
};

TEST_F(LargeRun, OfWhichManyFailCountsThemAllAndNeverBlocksTheWindow) {
  server.onAnyOther([](const LoopbackRequest& request, LoopbackConnection& connection) {
    const std::string digits = request.target.substr(request.target.rfind("/p") + 2);
    const bool fails = std::stoi(digits) % 5 < 2;
    respond(200, fails ? "a body that is too long" : "some bytes")(request, connection);
  });
  const Heartbeat heartbeat;
  fetchAll();
  c.downloadMissingButton->click();
  ASSERT_EQ(dialogs.panels.size(), 1u);
  dialogs.panels[0].chosen(ChosenFolder{folder.path(), nullptr});
  ASSERT_TRUE(waitFor([&] { return c.fetchButton->isEnabled(); }));
  EXPECT_EQ(status(),
            "Finished missing. Downloaded: 3000  Verified: 3000  Failed: 2000  "
            "Validation failed: 2000  Skipped: 0  Already present: 0");
  EXPECT_EQ(folder.names().size(), static_cast<std::size_t>(kPackages));
}

TEST_F(LargeRun, OfACompleteFolderNeverBlocksTheWindow) {
  for (int i = 0; i < kPackages; ++i) folder.write("p" + std::to_string(i) + "_1.deb", "x");
  const Heartbeat heartbeat;
  fetchAll();
  c.downloadMissingButton->click();
  dialogs.panels[0].chosen(ChosenFolder{folder.path(), nullptr});
  EXPECT_EQ(status(), "Missing: 0   Already present: 5000");
}

TEST_F(LargeRun, ToTheCentralArchiveOfPackagesThatDoNotArriveNeverBlocksTheWindow) {
  CentralArchiveServer archive;
  controller.centralArchiveClient().setApiBaseURL(archive.baseURL());
  std::string entries;
  for (int i = 0; i < kPackages; ++i) {
    entries += (i == 0 ? "" : ",") + entryOf("p" + std::to_string(i));
  }
  archive.answer("check_repo.php", respond(200, missing(entries)));
  server.onAnyOther(hangUp());
  const Heartbeat heartbeat;
  fetchAll();
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: 0  Failed: 5000");
}

TEST_F(LargeRun, OfUploadsOfTenMegabytesNeverBlocksTheWindow) {
  const std::string cache = ViewController::centralArchiveTemporaryFolder();
  std::string entries;
  for (int i = 0; i < kUploads; ++i) {
    const std::string name = "p" + std::to_string(i);
    std::ofstream(cache + "/" + name + "_1.deb") << std::string(10'000'000, 'x');
    entries += (i == 0 ? "" : ",") + entryOf(name);
  }
  controller.centralArchiveClient().setApiBaseURL(server.url("/archive"));
  controller.centralArchiveClient().setApiSecret("a-secret");
  server.on("/archive/check_repo.php", respond(200, missing(entries)));
  server.on("/archive/request_upload_token.php", respond(200, R"({"ok":true,"upload_token":"t"})"));
  server.on("/archive/upload_package.php", respond(200, R"({"ok":true})"));
  const Heartbeat heartbeat;
  fetchAll();
  archiveAll();
  EXPECT_EQ(status(), "Archive complete. Uploaded: " + std::to_string(kUploads) + "  Failed: 0");
}

}  // namespace
}  // namespace tolvane
