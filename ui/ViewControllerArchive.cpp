// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "archive_client/CentralArchiveClient.h"
#include "base/File.h"
#include "base/SystemLog.h"
#include "base/Text.h"
#include "ui/ViewController.h"

// What a central archive lacks of the repository: asked for, and downloaded into a cache of its
// own. The uploads follow in a source of theirs.
namespace tolvane {

void ViewController::checkCentralArchiveButtonClicked() {
  if (!currentRepositoryURL_ || allPackages_.empty()) return;
  report("Checking central archive...", "info");
  showIndeterminateProgress();
  centralArchiveClient_->checkRepositoryURL(
      absoluteText(currentRepositoryURL_), archiveTypeOf(selectedRepositoryKind()), allPackages_,
      lifetime_.guardOn(mainQueue_,
                        [this](MissingPackages missing, const std::optional<Error>& error) {
                          archiveCheckDidComplete(std::move(missing), error);
                        }));
}

void ViewController::archiveCheckDidComplete(MissingPackages missing,
                                             const std::optional<Error>& error) {
  hideProgressIndicator();
  if (error) return report(descriptionOr(error, "Archive check failed."), "error");
  lastMissingArchivePackages_ = std::move(missing);
  const std::size_t count = lastMissingArchivePackages_.size();
  if (count == 0) {
    return report("All packages have already been archived on the centralised location.",
                  "success");
  }
  report(fmt::format("{} package(s) are not yet archived.", count), "info");
  dialogs_.beginAlert(
      window(),
      {"Packages missing from central archive",
       fmt::format("{} package(s) are not yet archived on the central server.\n\nDownload them "
                   "locally and upload them to the central archive?",
                   count),
       {"Archive Missing Packages", "Cancel"}},
      lifetime_.guard([this](std::size_t button) {
        if (button == 0) startArchiveMissingPackagesWorkflow();
      }));
}

void ViewController::startArchiveMissingPackagesWorkflow() {
  if (lastMissingArchivePackages_.empty()) {
    return report("No missing packages to archive.", "success");
  }
  report("Requesting central archive upload token...", "info");
  showIndeterminateProgress();
  centralArchiveClient_->requestUploadTokenForRepositoryURL(
      absoluteText(currentRepositoryURL_), archiveTypeOf(selectedRepositoryKind()),
      lastMissingArchivePackages_.size(),
      lifetime_.guardOn(mainQueue_, [this](const std::optional<std::string>& token,
                                           const std::optional<Error>& error) {
        uploadTokenDidArrive(token, error);
      }));
}

void ViewController::uploadTokenDidArrive(const std::optional<std::string>& token,
                                          const std::optional<Error>& error) {
  hideProgressIndicator();
  if (error || !token || token->empty()) {
    return report(descriptionOr(error, "Could not request central archive upload token."), "error");
  }
  report("Central archive upload token received.", "success");
  beginArchiveUploadWorkflow();
}

ViewController::PackageList ViewController::packagesForMissingArchiveEntries() const {
  return packagesForEntries(lastMissingArchivePackages_, allPackages_);
}

std::string ViewController::centralArchiveTemporaryFolder() {
  std::string folder =
      joinPath(Configuration::current().cacheFolder, "Tolvane/CentralArchiveUploads");
  createFolder(folder);  // where that fails, downloads into it and uploads from it tell
  return folder;
}

void ViewController::beginArchiveUploadWorkflow() {
  PackageList matched = packagesForMissingArchiveEntries();
  SystemLog::write("[CentralArchive] Matched {} PackageEntry objects for upload", matched.size());
  const std::string folder = centralArchiveTemporaryFolder();
  const PackageList lacking = DownloadQueueManager::missingPackagesFromPackages(matched, folder);
  const std::size_t cached = matched.size() - lacking.size();
  SystemLog::write("[CentralArchive] {} package(s) already exist in local archive cache", cached);
  appendConsoleMessage(
      fmt::format("Central archive: {} package(s) already cached locally.", cached),
      cached > 0 ? "success" : "info");
  if (!lacking.empty()) {
    downloadForArchive(lacking, folder);
  } else if (!matched.empty()) {
    report(
        "All missing packages already exist in the local archive cache. Starting upload "
        "stage...",
        "success");
    uploadArchivedPackages({std::make_shared<const PackageList>(std::move(matched)), folder});
  } else {
    report("No matching packages found to archive.", "error");
  }
}

void ViewController::downloadForArchive(const PackageList& packages, const std::string& folder) {
  setDownloading(true);
  controls_.checkArchiveButton->setEnabled(false);
  report(fmt::format("Downloading {} package(s) for archival...", packages.size()), "info");
  const auto width = queueManager_->maxConcurrentDownloads();
  queueManager_->setMaxConcurrentDownloads(1);
  runQueue(
      packages, folder,
      [this](const DownloadCounters& counters, std::uint64_t total) {
        setStatus(fmt::format("Archive download {} / {}", counters.completed(), total));
      },
      [this, width, folder](const DownloadCounters& counters) {
        queueManager_->setMaxConcurrentDownloads(width);
        archiveDownloadsDidFinish(counters, folder);
      });
}

void ViewController::archiveDownloadsDidFinish(const DownloadCounters& counters,
                                               const std::string& folder) {
  setDownloading(false);
  controls_.checkArchiveButton->setEnabled(!allPackages_.empty());
  report(fmt::format("Archive download complete. Downloaded: {}  Failed: {}  Validation failed: {}",
                     counters.downloaded, counters.failed, counters.validationFailed),
         counters.hasErrors() ? "error" : "success");
  SystemLog::write("[CentralArchive] Archive download stage finished");
  SystemLog::write("[CentralArchive] Temporary folder: {}", folder);
  uploadArchivedPackages(
      {std::make_shared<const PackageList>(packagesForMissingArchiveEntries()), folder});
}

}  // namespace tolvane
