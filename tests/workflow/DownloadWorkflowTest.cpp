// SPDX-License-Identifier: MIT
#include <algorithm>

#include "repository/RepoParser.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/workflow/WorkflowFixture.h"
#include "workflow/DownloadWorkflow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class DownloadWorkflowTest : public WorkflowTest {
 protected:
  // Packages of three bytes each; the server has what their names promise.
  std::vector<PackageEntry> packages(const std::vector<std::string>& names,
                                     const std::string& size = "3") {
    std::string index;
    for (const std::string& name : names) {
      index +=
          "Package: " + name + "\nVersion: 1\nFilename: " + name + ".deb\nSize: " + size + "\n\n";
      client.answer(kRepository + name + ".deb", {200, "abc"});
    }
    return RepoParser::parsePackagesText(index);
  }

  DownloadRun run(std::vector<PackageEntry> list,
                  std::optional<std::size_t> alreadyPresent = std::nullopt) {
    return {std::move(list), URL::parse(kRepository), folder.path(), alreadyPresent};
  }

  void start(const DownloadRun& run) {
    workflow->start(run, [this](const DownloadEnd& end) { ends.push_back(end); });
  }

  TemporaryFolder folder;
  DownloadQueueManager queue{mainQueue, client.factory()};
  RepositoryMetadataArchiver metadataArchiver{mainQueue, client.factory()};
  std::unique_ptr<DownloadWorkflow> workflow =
      std::make_unique<DownloadWorkflow>(queue, metadataArchiver, observer);
  std::vector<DownloadEnd> ends;
};

TEST_F(DownloadWorkflowTest, ReportsARunFromItsStartToItsEnd) {
  start(run(packages({"a"})));
  EXPECT_THAT(observer.taken(), ElementsAre("download: on", "progress: 0 / 1"));
  runUntil([this] { return !ends.empty(); });
  EXPECT_THAT(observer.events, ElementsAre("progress: 1 / 1",
                                           "status: Downloading 1 / 1   Verified: 1   Failed: 0   "
                                           "Validation failed: 0   Skipped: 0",
                                           "progress: ended", "download: off"));
  EXPECT_EQ(ends[0].text,
            "Finished. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  Skipped: 0");
  EXPECT_EQ(ends[0].details,
            "Downloaded: 1\nVerified: 1\nFailed: 0\nValidation failed: 0\nSkipped: 0");
  EXPECT_EQ(ends[0].type(), LogType::success);
}

TEST_F(DownloadWorkflowTest, ARunOfWhatAFolderLacksSaysHowManyWerePresent) {
  folder.write("b.deb", "");
  const std::vector<PackageEntry> list = packages({"a", "b"});
  MissingScan scan = scanForMissing(list, folder.path());
  EXPECT_EQ(scan.text(), "Missing: 1   Already present: 1");
  start(run(std::move(scan.missing), scan.alreadyPresent));
  runUntil([this] { return !ends.empty(); });
  EXPECT_EQ(observer.events[3],
            "status: Downloading missing 1 / 1   Verified: 1   Failed: 0   Validation failed: 0   "
            "Skipped: 0");
  EXPECT_EQ(ends[0].text,
            "Finished missing. Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  "
            "Skipped: 0  Already present: 1");
  EXPECT_EQ(ends[0].details,
            "Downloaded: 1\nVerified: 1\nFailed: 0\nValidation failed: 0\nSkipped: 0\n"
            "Already present: 1");
}

TEST_F(DownloadWorkflowTest, AScanOfACompleteFolderFindsNothingMissing) {
  folder.write("a.deb", "");
  const MissingScan scan = scanForMissing(packages({"a"}), folder.path());
  EXPECT_THAT(scan.missing, IsEmpty());
  EXPECT_EQ(scan.text(), "Missing: 0   Already present: 1");
}

TEST_F(DownloadWorkflowTest, FailuresMakeTheEndAnErrorAndSkippedFilesDoNot) {
  folder.write("b.deb", "");
  start(run(packages({"b"})));
  runUntil([this] { return ends.size() == 1; });
  EXPECT_EQ(ends[0].counters.skipped, 1u);
  EXPECT_EQ(ends[0].type(), LogType::success);
  start(run(packages({"a"}, "4")));
  runUntil([this] { return ends.size() == 2; });
  EXPECT_EQ(ends[1].counters.validationFailed, 1u);
  EXPECT_EQ(ends[1].type(), LogType::error);
}

TEST_F(DownloadWorkflowTest, CancellingIsReportedAndTheTransferUnderWayIsCounted) {
  client.hold();
  start(run(packages({"a"})));
  ASSERT_TRUE(client.waitForRequests(1));
  observer.taken();
  workflow->cancel();
  EXPECT_THAT(observer.taken(),
              ElementsAre("status: Cancelling downloads...", "warning: Cancelling downloads...",
                          "progress: hidden"));
  client.releaseAll();
  runUntil([this] { return !ends.empty(); });
  EXPECT_EQ(ends[0].counters.downloaded, 1u);
}

TEST_F(DownloadWorkflowTest, DestroyedWhileItRunsItHasNoReportsAndNoCompletion) {
  client.hold();
  start(run(packages({"a"})));
  ASSERT_TRUE(client.waitForRequests(1));
  workflow.reset();
  observer.taken();
  client.releaseAll();
  runUntil([this] { return folder.names() == std::vector<std::string>{"a.deb"}; });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  mainQueue.drain();
  EXPECT_THAT(observer.events, IsEmpty());
  EXPECT_THAT(ends, IsEmpty());
}

TEST_F(DownloadWorkflowTest, MetadataIsSavedInParallelAndItsOutcomeLogged) {
  const LogRecorder log;
  client.answer(std::string(kRepository) + "Release", {200, "Origin: test\n"});
  workflow->saveMetadata(URL::parse(kRepository), folder.path());
  const std::string line = "[UI] Metadata archived: 1 downloaded, 22 missing/failed";
  runUntil([&] { return std::ranges::count(log.lines(), line) == 1; });
  EXPECT_EQ(folder.read("Release"), "Origin: test\n");
  EXPECT_THAT(observer.events, IsEmpty());
}

}  // namespace
}  // namespace tolvane
