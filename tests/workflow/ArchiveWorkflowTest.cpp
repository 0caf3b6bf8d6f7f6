// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <filesystem>

#include "base/File.h"
#include "repository/RepoParser.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/workflow/WorkflowFixture.h"
#include "workflow/ArchiveWorkflow.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kArchive = "https://archive.test/api";

class ArchiveWorkflowTest : public WorkflowTest {
 protected:
  ArchiveWorkflowTest() { setenv("XDG_CACHE_HOME", caches.path().c_str(), 1); }
  ~ArchiveWorkflowTest() override { unsetenv("XDG_CACHE_HOME"); }

  void answer(const std::string& page, const std::string& json) {
    client.answer(std::string(kArchive) + "/" + page, {200, json});
  }

  // An archive that gives a token and takes every upload.
  void welcomeUploads() {
    answer("request_upload_token.php", R"({"ok":true,"upload_token":"t"})");
    answer("upload_package.php", R"({"ok":true})");
  }

  // Loads a repository of packages of three bytes each, which its server has.
  void load(const std::vector<std::string>& names, const std::string& size = "3") {
    std::string index;
    for (const std::string& name : names) {
      index +=
          "Package: " + name + "\nVersion: 1\nFilename: " + name + ".deb\nSize: " + size + "\n\n";
      client.answer(kRepository + name + ".deb", {200, "abc"});
    }
    packages = RepoParser::parsePackagesText(index);
    url = URL::parse(kRepository);
  }

  void archiveLacks(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
      list += (list.empty() ? "" : ",") + (R"({"identifier":")" + name + R"(","version":"1"})");
    }
    answer("check_repo.php", R"({"ok":true,"missing_packages":[)" + list + "]}");
  }

  // The check, up to its question.
  void check() {
    workflow.check();
    runUntil([this] { return !observer.unanswered.empty(); });
    observer.taken();
  }

  std::string cached(const std::string& name) {
    return joinPath(ArchiveWorkflow::cacheFolder(), name);
  }

  TemporaryFolder caches;
  std::vector<PackageEntry> packages;
  std::optional<URL> url;
  CentralArchiveClient archive{kArchive, "a-secret", client.factory()};
  DownloadQueueManager queue{mainQueue, client.factory()};
  RepositoryMetadataArchiver metadataArchiver{mainQueue, client.factory()};
  DownloadWorkflow downloads{queue, metadataArchiver, observer};
  ArchiveWorkflow workflow{{mainQueue, archive, queue, downloads,
                            [this] {
                              return LoadedRepository{packages, url, RepositoryKind::installer3};
                            }},
                           observer};
};

TEST_F(ArchiveWorkflowTest, WithoutARepositoryTheCheckDoesNothing) {
  workflow.check();
  url = URL::parse(kRepository);
  workflow.check();
  EXPECT_THAT(observer.events, IsEmpty());
  EXPECT_THAT(client.requests(), IsEmpty());
}

TEST_F(ArchiveWorkflowTest, ReportsEveryStageInOrder) {
  load({"a"});
  welcomeUploads();
  archiveLacks({"a"});
  workflow.check();
  EXPECT_THAT(observer.taken(),
              ElementsAre("status: Checking central archive...",
                          "info: Checking central archive...", "progress: indeterminate"));
  runUntilEvent("question: Packages missing from central archive");
  EXPECT_THAT(observer.taken(),
              ElementsAre("progress: hidden", "status: 1 package(s) are not yet archived.",
                          "info: 1 package(s) are not yet archived.",
                          "question: Packages missing from central archive"));
  EXPECT_EQ(observer.questions[0].informativeText,
            "1 package(s) are not yet archived on the central server.\n\nDownload them locally and "
            "upload them to the central archive?");
  EXPECT_THAT(observer.questions[0].answers, ElementsAre("Archive Missing Packages", "Cancel"));
  observer.answer(0);
  EXPECT_THAT(observer.taken(), ElementsAre("status: Requesting central archive upload token...",
                                            "info: Requesting central archive upload token...",
                                            "progress: indeterminate"));
  runUntilEvent("progress: ended");
  EXPECT_THAT(
      observer.taken(),
      ElementsAre("progress: hidden", "status: Central archive upload token received.",
                  "success: Central archive upload token received.",
                  "info: Central archive: 0 package(s) already cached locally.",
                  "archiveDownload: on", "status: Downloading 1 package(s) for archival...",
                  "info: Downloading 1 package(s) for archival...", "progress: 0 / 1",
                  "progress: 1 / 1", "status: Archive download 1 / 1", "archiveDownload: off",
                  "status: Archive download complete. Downloaded: 1  Failed: 0  "
                  "Validation failed: 0",
                  "success: Archive download complete. Downloaded: 1  Failed: 0  "
                  "Validation failed: 0",
                  "progress: 0 / 1", "status: Uploading 1 / 1",
                  "info: Starting upload of 1 archived package(s).", "success: Uploaded a.deb",
                  "progress: 1 / 1", "status: Archive complete. Uploaded: 1  Failed: 0",
                  "success: Archive complete. Uploaded: 1  Failed: 0", "progress: ended"));
  EXPECT_FALSE(std::filesystem::exists(cached("a.deb"))) << "uploaded, so deleted";
}

TEST_F(ArchiveWorkflowTest, SaysWhenTheArchiveLacksNothing) {
  load({"a"});
  archiveLacks({});
  workflow.check();
  runUntilEvent("success: All packages have already been archived on the centralised location.");
  EXPECT_THAT(observer.questions, IsEmpty());
  workflow.requestToken();
  EXPECT_EQ(lastEvent(), "success: No missing packages to archive.");
}

TEST_F(ArchiveWorkflowTest, AFailedCheckKeepsWhatTheLastOneFound) {
  load({"a"});
  archiveLacks({"a"});
  answer("check_repo.php", R"({"ok":false,"error":"Closed today."})");
  check();
  EXPECT_EQ(workflow.lastMissing().size(), 1u);
  workflow.check();
  runUntilEvent("error: Closed today.");
  EXPECT_EQ(workflow.lastMissing().size(), 1u);
}

TEST_F(ArchiveWorkflowTest, ADeclinedQuestionEndsIt) {
  load({"a"});
  archiveLacks({"a"});
  check();
  observer.answer(1);
  EXPECT_THAT(observer.events, IsEmpty());
}

TEST_F(ArchiveWorkflowTest, WithoutATokenNothingIsDownloaded) {
  load({"a"});
  archiveLacks({"a"});
  answer("request_upload_token.php", R"({"ok":false,"error":"Not you."})");
  check();
  observer.answer(0);
  runUntilEvent("error: Not you.");
  EXPECT_EQ(client.requests().size(), 2u);
}

TEST_F(ArchiveWorkflowTest, EntriesThatNameNoPackageCountForTheTokenAndAreNotMatched) {
  load({"a"});
  welcomeUploads();
  archiveLacks({"b", "c"});
  check();
  observer.answer(0);
  runUntilEvent("error: No matching packages found to archive.");
  EXPECT_NE(client.requests()[1].body->find("\"package_count\":2"), std::string::npos);
  EXPECT_NE(client.requests()[1].body->find("\"Installer3\""), std::string::npos);
}

TEST_F(ArchiveWorkflowTest, CachedFilesAreUploadedWithoutADownload) {
  load({"a"});
  welcomeUploads();
  archiveLacks({"a"});
  caches.write("Tolvane/CentralArchiveUploads/a.deb", "abc");
  check();
  observer.answer(0);
  runUntilEvent("progress: ended");
  observer.events.erase(observer.events.begin(), observer.events.begin() + 6);
  EXPECT_THAT(
      observer.events,
      ElementsAre("success: Central archive: 1 package(s) already cached locally.",
                  "status: All missing packages already exist in the local archive cache. "
                  "Starting upload stage...",
                  "success: All missing packages already exist in the local archive cache. "
                  "Starting upload stage...",
                  "progress: 0 / 1", "status: Uploading 1 / 1",
                  "info: Starting upload of 1 archived package(s).", "success: Uploaded a.deb",
                  "progress: 1 / 1", "status: Archive complete. Uploaded: 1  Failed: 0",
                  "success: Archive complete. Uploaded: 1  Failed: 0", "progress: ended"));
}

TEST_F(ArchiveWorkflowTest, AFileThatDidNotArriveAndAnUploadThatFailsAreCountedAndNamed) {
  load({"a", "b"});
  client.answer(std::string(kRepository) + "b.deb", failingAnswer(-1005, "Lost."));
  packages = RepoParser::parsePackagesText(
      "Package: a\nVersion: 1\nFilename: a.deb\n\nPackage: b\nVersion: 1\nFilename: none.deb\n\n");
  client.answer(std::string(kRepository) + "none.deb", failingAnswer(-1005, "Lost."));
  archiveLacks({"a", "b"});
  answer("request_upload_token.php", R"({"ok":true,"upload_token":"t"})");
  answer("upload_package.php", R"({"ok":false,"error":"The disk is full."})");
  check();
  observer.answer(0);
  runUntilEvent("progress: ended");
  observer.events.erase(observer.events.begin(), observer.events.end() - 5);
  EXPECT_THAT(observer.events,
              ElementsAre("progress: 1 / 2", "error: Missing local file for upload: none.deb",
                          "status: Archive complete. Uploaded: 0  Failed: 2",
                          "error: Archive complete. Uploaded: 0  Failed: 2", "progress: ended"));
  EXPECT_TRUE(std::filesystem::exists(cached("a.deb"))) << "kept for the next try";
}

TEST_F(ArchiveWorkflowTest, DownloadsOneAtATimeAndThenAsManyAsBefore) {
  load({"a", "b"});
  welcomeUploads();
  archiveLacks({"a", "b"});
  queue.setMaxConcurrentDownloads(4);
  std::int64_t width = 0;
  observer.onEvent = [&](const std::string& event) {
    if (event == "status: Archive download 2 / 2") width = queue.maxConcurrentDownloads();
  };
  check();
  observer.answer(0);
  runUntilEvent("progress: ended");
  EXPECT_EQ(width, 1);
  EXPECT_EQ(queue.maxConcurrentDownloads(), 4);
}

TEST_F(ArchiveWorkflowTest, ANameThatLeadsOutOfTheCacheIsNotUploaded) {
  load({"a"});
  const std::string outside = caches.write("secret", "abc");
  workflow.upload({std::make_shared<const std::vector<PackageEntry>>(
                       RepoParser::parsePackagesText("Package: p\nFilename: ..\n\n")),
                   caches.path()});
  EXPECT_THAT(observer.events,
              ElementsAre("error: Missing local file for upload: ..",
                          "status: Archive complete. Uploaded: 0  Failed: 1",
                          "error: Archive complete. Uploaded: 0  Failed: 1", "progress: ended"));
}

}  // namespace
}  // namespace tolvane
