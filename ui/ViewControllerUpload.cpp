// SPDX-License-Identifier: MIT
#include <cerrno>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

#include "archive_client/CentralArchiveClient.h"
#include "base/File.h"
#include "base/SystemLog.h"
#include "base/Text.h"
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

void ViewController::uploadArchivedPackages(Uploads uploads) {
  std::size_t& index = uploads.index;
  for (int missing = 0; index < uploads.packages->size(); ++index, ++uploads.failed, ++missing) {
    if (missing == kMissingInARow) {
      return mainQueue_.post(lifetime_.guard([this, uploads] { uploadArchivedPackages(uploads); }));
    }
    const std::string name =
        DownloadQueueManager::localFilenameForPackage((*uploads.packages)[index]);
    const std::string path = joinPath(uploads.folder, name);
    // A name comes from the index. One that leads out of the folder would send, and then delete, a
    // file that is none of the archive's business.
    if (isFileName(name) && fileExists(path)) return sendPackage(uploads);
    SystemLog::write("[CentralArchive] Missing local file for upload: {}", path);
    appendConsoleMessage(
        "Missing local file for upload: " + (name.empty() ? std::string("Unknown file") : name),
        "error");
  }
  finishUploads(uploads);
}

void ViewController::sendPackage(const Uploads& uploads) {
  const std::size_t count = uploads.packages->size();
  const PackageEntry& package = (*uploads.packages)[uploads.index];
  const std::string name = DownloadQueueManager::localFilenameForPackage(package);
  const std::string path = joinPath(uploads.folder, name);
  showDeterminateProgressWithCompleted(uploads.index, count);
  setStatus(fmt::format("Uploading {} / {}", uploads.index + 1, count));
  if (uploads.index == 0) {
    appendConsoleMessage(fmt::format("Starting upload of {} archived package(s).", count), "info");
  }
  centralArchiveClient_->uploadPackage(
      package, absoluteText(currentRepositoryURL_), archiveTypeOf(selectedRepositoryKind()), path,
      lifetime_.guardOn(mainQueue_, [=, this, next = uploads](
                                        bool uploaded, const std::optional<Error>& error) mutable {
        reportUpload(name, path, uploaded, error);
        showDeterminateProgressWithCompleted(++next.index, count);
        ++(uploaded ? next.successful : next.failed);
        uploadArchivedPackages(next);
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

void ViewController::finishUploads(const Uploads& uploads) {
  const std::string text =
      fmt::format("Archive complete. Uploaded: {}  Failed: {}", uploads.successful, uploads.failed);
  setStatus(text);
  SystemLog::write("[CentralArchive] Upload stage finished. Uploaded={} Failed={}",
                   uploads.successful, uploads.failed);
  appendConsoleMessage(text, uploads.failed > 0 ? "error" : "success");
  showCompletedRun(uploads.failed == 0);
}

}  // namespace tolvane
