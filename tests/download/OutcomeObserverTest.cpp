// SPDX-License-Identifier: MIT
// What the observers of a run and of an archiving are given.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mutex>

#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "tests/download/QueueRun.h"
#include "tests/support/ScriptedHTTPClient.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string kMD5OfBytes = "4b3a6218bb3e3a7303e8a171a60fcf92";  // of "bytes"

// Observes and keeps, as texts, what can be compared.
class OutcomeObserver : public testing::Test {
 protected:
  static PackageEntry package(const std::string& name, PackageEntry::Dictionary fields = {}) {
    fields.emplace("Package", name);
    fields.emplace("Filename", name + ".deb");
    return PackageEntry(fields);
  }

  static PackageEntry installer4Package(const std::string& name) {
    PackageEntry entry(PackageEntry::Dictionary{{"Package", name}});
    entry.setInstaller4Package(true);
    entry.setPackageInfoURL("http://repo.example/info/" + name + ".plist");
    return entry;
  }

  void serveInfo(const std::string& name, const std::string& location) {
    session_.answer("http://repo.example/info/" + name + ".plist",
                    {.body = "<plist><dict><key>location</key><string>" + location +
                             "</string></dict></plist>"});
  }

  // "name status url file error", a line an outcome.
  std::vector<std::string> outcomesOf(const std::vector<PackageEntry>& packages) {
    std::mutex mutex;
    std::vector<std::string> lines;
    DownloadQueueManager queue(loop_, session_.factory());
    queue.setObserver([&](const PackageOutcome& outcome) {
      const std::lock_guard lock(mutex);
      lines.push_back(std::string(outcome.package.packageName()) + " " +
                      (outcome.success ? "done " : "failed ") + textOf(outcome.request) + " " +
                      (outcome.error ? outcome.error->description : "-"));
    });
    const QueueRun run;
    queue.downloadPackages(packages, repository_, folder_.path(), nullptr,
                           run.completion([this] { loop_.quit(); }));
    loop_.run();
    const std::lock_guard lock(mutex);
    return lines;
  }

  std::string textOf(const LastRequest& request) const {
    const std::string file = std::filesystem::path(request.localPath).filename();
    return std::to_string(statusOf(request.response)) + " " + absoluteText(request.url) + " " +
           (file.empty() ? "-" : file);
  }

  RunLoop loop_;
  ScriptedHTTPClient session_;
  const TemporaryFolder folder_;
  const std::optional<URL> repository_ = URL::parse("http://repo.example/");
};

TEST_F(OutcomeObserver, IsGivenEachPackagesAddressStatusFileAndError) {
  session_.answer("http://repo.example/good.deb", {.body = "bytes"});
  session_.answer("http://repo.example/page.deb", {.status = 404, .body = "no such file"});
  session_.answer("http://repo.example/wrong.deb", {.body = "bytes"});
  session_.answer("http://repo.example/lost.deb", failingAnswer(-1005, "It was lost."));
  EXPECT_THAT(
      outcomesOf({package("good", {{"MD5sum", kMD5OfBytes}}), package("page"),
                  package("wrong", {{"Size", "6"}}), package("lost"),
                  package("nameless", {{"Filename", ""}})}),
      UnorderedElementsAre(
          "good done 200 http://repo.example/good.deb good.deb -",
          "page done 404 http://repo.example/page.deb page.deb -",
          "wrong failed 200 http://repo.example/wrong.deb wrong.deb Size mismatch for wrong. "
          "Expected 6 bytes, got 5 bytes.",
          "lost failed 0 http://repo.example/lost.deb - It was lost.",
          "nameless failed 0  - Package has no Filename field."));
}

TEST_F(OutcomeObserver, IsGivenNoPackageThatIsSkipped) {
  folder_.write("there.deb", "bytes");
  EXPECT_THAT(outcomesOf({package("there")}), IsEmpty());
}

TEST_F(OutcomeObserver, IsGivenTheLastAddressOfAnInstaller4Package) {
  serveInfo("good", "http://zip.example/good.zip");
  session_.answer("http://zip.example/good.zip", {.body = "PK"});
  serveInfo("gone", "http://zip.example/gone.zip");
  EXPECT_THAT(outcomesOf({installer4Package("good"), installer4Package("gone"),
                          installer4Package("infoless")}),
              UnorderedElementsAre("good done 200 http://zip.example/good.zip good.zip -",
                                   "gone failed 404 http://zip.example/gone.zip - "
                                   "Could not download Installer package ZIP.",
                                   "infoless failed 404 http://repo.example/info/infoless.plist - "
                                   "Could not load Installer package info plist."));
}

TEST_F(OutcomeObserver, IsGivenEveryMetadataPathOnce) {
  session_.answer("http://repo.example/Release", {.body = "release"});
  session_.answer("http://repo.example/InRelease", failingAnswer(-1001, "It took too long."));
  session_.answer("http://repo.example/Packages", {.body = "index"});
  std::filesystem::create_directory(folder_.path("Packages"));
  std::mutex mutex;
  std::vector<std::string> paths, lines;
  RepositoryMetadataArchiver(loop_, session_.factory(), [&](const MetadataOutcome& outcome) {
    const std::lock_guard lock(mutex);
    paths.push_back(outcome.path);
    if (statusOf(outcome.request.response) == 404) return;
    lines.push_back(textOf(outcome.request) + " " +
                    (outcome.error ? outcome.error->description : "-"));
  }).archiveMetadataForRepositoryURL(repository_, folder_.path(), [this](const auto&, const auto&) {
    loop_.quit();
  });
  loop_.run();
  EXPECT_THAT(paths,
              testing::UnorderedElementsAreArray(RepositoryMetadataArchiver::candidatePaths()));
  EXPECT_THAT(lines, UnorderedElementsAre(
                         "200 http://repo.example/Release Release -",
                         "0 http://repo.example/InRelease - It took too long.",
                         "200 http://repo.example/Packages - " + posixError(EISDIR).description));
}

TEST_F(OutcomeObserver, ARunRemovesTemporaryFilesThatKilledProcessesLeft) {
  folder_.write(".tolvane-0123456789abcdef", "half");
  folder_.write("there.deb", "bytes");
  outcomesOf({package("there")});
  EXPECT_THAT(folder_.names(), ElementsAre("there.deb"));
}

TEST_F(OutcomeObserver, AScanRemovesTemporaryFilesThatKilledProcessesLeft) {
  folder_.write(".tolvane-0123456789abcdef", "half");
  EXPECT_THAT(DownloadQueueManager::missingPackagesFromPackages({}, folder_.path()), IsEmpty());
  EXPECT_THAT(folder_.names(), IsEmpty());
}

}  // namespace
}  // namespace tolvane
