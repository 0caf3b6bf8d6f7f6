// SPDX-License-Identifier: MIT
#include <cerrno>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

#include "archive_client/CentralArchiveClient.h"
#include "platform/File.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "ui/ViewController.h"

// Uploads to the central archive, strictly one after another.
namespace tolvane {

namespace {

// So many files may be found missing before the window is given a turn.
constexpr int kMissingInARow = 20;

void deleteUploadedFile(const std::string& path) {
  if (::unlink(path.c_str()) == 0) {
    SystemLog::write("[CentralArchive] Deleted temporary file {}", path);
  } else {
    SystemLog::write("[CentralArchive] Could not delete temporary file {} error={}", path,
                     describe(posixError(errno)));
  }
}

}  // namespace

void ViewController::uploadArchivedPackages(const std::shared_ptr<const PackageList>& packages,
                                            const std::string& folder, std::size_t index,
                                            std::uint64_t successful, std::uint64_t failed) {
  for (int missing = 0; index < packages->size(); ++index, ++failed, ++missing) {
    if (missing == kMissingInARow) {
      return mainQueue_.post(lifetime_.guard(
          [=, this] { uploadArchivedPackages(packages, folder, index, successful, failed); }));
    }
    const std::string name = DownloadQueueManager::localFilenameForPackage((*packages)[index]);
    const std::string path = joinPath(folder, name);
    // A name comes from the index. One that leads out of the folder would send, and then delete, a
    // file that is none of the archive's business.
    if (isFileName(name) && fileExists(path)) break;
    SystemLog::write("[CentralArchive] Missing local file for upload: {}", path);
    appendConsoleMessage(
        "Missing local file for upload: " + (name.empty() ? std::string("Unknown file") : name),
        "error");
  }
  if (index < packages->size()) {
    uploadArchivedPackage(packages, folder, index, successful, failed);
  } else {
    finishUploads(successful, failed);
  }
}

void ViewController::uploadArchivedPackage(const std::shared_ptr<const PackageList>& packages,
                                           const std::string& folder, std::size_t index,
                                           std::uint64_t successful, std::uint64_t failed) {
  const PackageEntry& package = (*packages)[index];
  const std::string name = DownloadQueueManager::localFilenameForPackage(package);
  const std::string path = joinPath(folder, name);
  showDeterminateProgressWithCompleted(index, packages->size());
  setStatus(fmt::format("Uploading {} / {}", index + 1, packages->size()));
  if (index == 0) {
    appendConsoleMessage(
        fmt::format("Starting upload of {} archived package(s).", packages->size()), "info");
  }
  centralArchiveClient_->uploadPackage(
      package, absoluteText(currentRepositoryURL_), archiveRepositoryType(), path,
      lifetime_.guardOn(mainQueue_, [=, this](bool uploaded, const std::optional<Error>& error) {
        reportUpload(name, path, uploaded, error);
        showDeterminateProgressWithCompleted(index + 1, packages->size());
        uploadArchivedPackages(packages, folder, index + 1, successful + (uploaded ? 1 : 0),
                               failed + (uploaded ? 0 : 1));
      }));
}

void ViewController::reportUpload(const std::string& name, const std::string& path, bool uploaded,
                                  const std::optional<Error>& error) {
  if (uploaded) {
    SystemLog::write("[CentralArchive] Uploaded {}", name);
    appendConsoleMessage("Uploaded " + name, "success");
    deleteUploadedFile(path);
  } else {
    SystemLog::write("[CentralArchive] Upload failed {} error={}", name, describe(error));
    appendConsoleMessage(
        fmt::format("Upload failed {}: {}", name, descriptionOr(error, "Unknown error")), "error");
  }
}

void ViewController::finishUploads(std::uint64_t successful, std::uint64_t failed) {
  const std::string text =
      fmt::format("Archive complete. Uploaded: {}  Failed: {}", successful, failed);
  setStatus(text);
  SystemLog::write("[CentralArchive] Upload stage finished. Uploaded={} Failed={}", successful,
                   failed);
  appendConsoleMessage(text, failed > 0 ? "error" : "success");
  showCompletedRun(failed == 0);
}

}  // namespace tolvane
