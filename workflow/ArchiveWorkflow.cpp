// SPDX-License-Identifier: MIT
#include "workflow/ArchiveWorkflow.h"

#include <cerrno>
#include <fmt/format.h>
#include <unistd.h>
#include <utility>

#include "archive_client/MissingPackages.h"
#include "base/Configuration.h"
#include "base/File.h"
#include "base/SystemLog.h"

namespace tolvane {

namespace {

// So many files may be found missing before the main thread gets a turn.
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

void ArchiveWorkflow::check() {
  const LoadedRepository repository = services_.repository();
  if (!repository.url || repository.packages.empty()) return;
  observer_.report("Checking central archive...", LogType::info);
  observer_.showProgress({Progress::State::indeterminate});
  services_.client.checkRepositoryURL(
      absoluteText(repository.url), archiveTypeOf(repository.kind), repository.packages,
      lifetime_.guardOn(services_.mainQueue,
                        [this](MissingPackages missing, const std::optional<Error>& error) {
                          checkDidComplete(std::move(missing), error);
                        }));
}

void ArchiveWorkflow::checkDidComplete(MissingPackages missing, const std::optional<Error>& error) {
  observer_.showProgress({Progress::State::hidden});
  if (error) {
    return observer_.report(descriptionOr(error, "Archive check failed."), LogType::error);
  }
  lastMissing_ = std::move(missing);
  const std::size_t count = lastMissing_.size();
  if (count == 0) {
    return observer_.report("All packages have already been archived on the centralised location.",
                            LogType::success);
  }
  observer_.report(fmt::format("{} package(s) are not yet archived.", count), LogType::info);
  observer_.ask(
      {"Packages missing from central archive",
       fmt::format("{} package(s) are not yet archived on the central server.\n\nDownload them "
                   "locally and upload them to the central archive?",
                   count),
       {"Archive Missing Packages", "Cancel"}},
      lifetime_.guard([this](std::size_t answer) {
        if (answer == 0) requestToken();
      }));
}

void ArchiveWorkflow::requestToken() {
  if (lastMissing_.empty()) {
    return observer_.report("No missing packages to archive.", LogType::success);
  }
  observer_.report("Requesting central archive upload token...", LogType::info);
  observer_.showProgress({Progress::State::indeterminate});
  const LoadedRepository repository = services_.repository();
  services_.client.requestUploadTokenForRepositoryURL(
      absoluteText(repository.url), archiveTypeOf(repository.kind), lastMissing_.size(),
      lifetime_.guardOn(services_.mainQueue, [this](const std::optional<std::string>& token,
                                                    const std::optional<Error>& error) {
        tokenDidArrive(token, error);
      }));
}

void ArchiveWorkflow::tokenDidArrive(const std::optional<std::string>& token,
                                     const std::optional<Error>& error) {
  observer_.showProgress({Progress::State::hidden});
  if (error || !token || token->empty()) {
    return observer_.report(descriptionOr(error, "Could not request central archive upload token."),
                            LogType::error);
  }
  observer_.report("Central archive upload token received.", LogType::success);
  begin();
}

ArchiveWorkflow::PackageList ArchiveWorkflow::matchedPackages() const {
  return packagesForEntries(lastMissing_, services_.repository().packages);
}

std::string ArchiveWorkflow::cacheFolder() {
  std::string folder =
      joinPath(Configuration::current().cacheFolder, "Tolvane/CentralArchiveUploads");
  createFolder(folder);  // where that fails, downloads into it and uploads from it report it
  return folder;
}

void ArchiveWorkflow::begin() {
  PackageList matched = matchedPackages();
  SystemLog::write("[CentralArchive] Matched {} PackageEntry objects for upload", matched.size());
  const std::string folder = cacheFolder();
  MissingScan scan = scanForMissing(matched, folder);
  const std::size_t cached = scan.alreadyPresent;
  SystemLog::write("[CentralArchive] {} package(s) already exist in local archive cache", cached);
  observer_.addConsoleLine(
      fmt::format("Central archive: {} package(s) already cached locally.", cached),
      cached > 0 ? LogType::success : LogType::info);
  if (!scan.missing.empty()) {
    download(std::move(scan.missing), folder);
  } else if (!matched.empty()) {
    observer_.report(
        "All missing packages already exist in the local archive cache. Starting upload stage...",
        LogType::success);
    upload({std::make_shared<const PackageList>(std::move(matched)), folder});
  } else {
    observer_.report("No matching packages found to archive.", LogType::error);
  }
}

void ArchiveWorkflow::download(PackageList packages, const std::string& folder) {
  observer_.activityChanged(Activity::archiveDownload, true);
  observer_.report(fmt::format("Downloading {} package(s) for archival...", packages.size()),
                   LogType::info);
  const auto width = services_.queue.maxConcurrentDownloads();
  services_.queue.setMaxConcurrentDownloads(1);
  services_.downloads.runQueue(
      {std::move(packages), services_.repository().url, folder},
      [this](const DownloadCounters& counters, std::uint64_t total) {
        observer_.showStatus(fmt::format("Archive download {} / {}", counters.completed(), total));
      },
      [this, width, folder](const DownloadCounters& counters) {
        services_.queue.setMaxConcurrentDownloads(width);
        downloadsDidFinish(counters, folder);
      });
}

void ArchiveWorkflow::downloadsDidFinish(const DownloadCounters& counters,
                                         const std::string& folder) {
  observer_.activityChanged(Activity::archiveDownload, false);
  observer_.report(
      fmt::format("Archive download complete. Downloaded: {}  Failed: {}  Validation failed: {}",
                  counters.downloaded, counters.failed, counters.validationFailed),
      counters.hasErrors() ? LogType::error : LogType::success);
  SystemLog::write("[CentralArchive] Archive download stage finished");
  SystemLog::write("[CentralArchive] Temporary folder: {}", folder);
  upload({std::make_shared<const PackageList>(matchedPackages()), folder});
}

void ArchiveWorkflow::upload(Uploads uploads) {
  std::size_t& index = uploads.index;
  for (int missing = 0; index < uploads.packages->size(); ++index, ++uploads.failed, ++missing) {
    if (missing == kMissingInARow) {
      return services_.mainQueue.post(lifetime_.guard([this, uploads] { upload(uploads); }));
    }
    const std::string name =
        DownloadQueueManager::localFilenameForPackage((*uploads.packages)[index]);
    const std::string path = joinPath(uploads.folder, name);
    // The name comes from the index. One that leads out of the folder would send, and then delete,
    // a file that is none of the archive's business.
    if (isFileName(name) && fileExists(path)) return send(uploads);
    SystemLog::write("[CentralArchive] Missing local file for upload: {}", path);
    observer_.addConsoleLine(
        "Missing local file for upload: " + (name.empty() ? std::string("Unknown file") : name),
        LogType::error);
  }
  finish(uploads);
}

void ArchiveWorkflow::send(const Uploads& uploads) {
  const std::size_t count = uploads.packages->size();
  const PackageEntry& package = (*uploads.packages)[uploads.index];
  const std::string name = DownloadQueueManager::localFilenameForPackage(package);
  const std::string path = joinPath(uploads.folder, name);
  observer_.showProgress({Progress::State::determinate, uploads.index, count});
  observer_.showStatus(fmt::format("Uploading {} / {}", uploads.index + 1, count));
  if (uploads.index == 0) {
    observer_.addConsoleLine(fmt::format("Starting upload of {} archived package(s).", count),
                             LogType::info);
  }
  const LoadedRepository repository = services_.repository();
  services_.client.uploadPackage(
      package, absoluteText(repository.url), archiveTypeOf(repository.kind), path,
      lifetime_.guardOn(
          services_.mainQueue,
          [=, this, next = uploads](bool uploaded, const std::optional<Error>& error) mutable {
            reportUpload(name, path, uploaded, error);
            observer_.showProgress({Progress::State::determinate, ++next.index, count});
            ++(uploaded ? next.successful : next.failed);
            upload(next);
          }));
}

void ArchiveWorkflow::reportUpload(const std::string& name, const std::string& path, bool uploaded,
                                   const std::optional<Error>& error) {
  if (uploaded) {
    SystemLog::write("[CentralArchive] Uploaded {}", name);
    observer_.addConsoleLine("Uploaded " + name, LogType::success);
    deleteUploadedFile(path);
  } else {
    SystemLog::write("[CentralArchive] Upload failed {} error={}", name, describe(error));
    observer_.addConsoleLine(
        fmt::format("Upload failed {}: {}", name, descriptionOr(error, "Unknown error")),
        LogType::error);
  }
}

void ArchiveWorkflow::finish(const Uploads& uploads) {
  const std::string text =
      fmt::format("Archive complete. Uploaded: {}  Failed: {}", uploads.successful, uploads.failed);
  observer_.showStatus(text);
  SystemLog::write("[CentralArchive] Upload stage finished. Uploaded={} Failed={}",
                   uploads.successful, uploads.failed);
  observer_.addConsoleLine(text, uploads.failed > 0 ? LogType::error : LogType::success);
  observer_.showProgress({Progress::State::ended});
}

}  // namespace tolvane
