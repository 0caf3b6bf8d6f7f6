// SPDX-License-Identifier: MIT
#include "download/DownloadQueueManager.h"

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <initializer_list>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>

#include "async/DispatchGroup.h"
#include "base/File.h"
#include "base/TemporaryFile.h"
#include "model/CrawlerLogger.h"

namespace tolvane {

namespace {

constexpr long kDefaultWidth = 5;

// The counters of one run and the run's lock.
class RunCounters {
 public:
  // Runs change(counters) under the lock.
  template <typename Change>
  void update(Change change) {
    const std::lock_guard lock(mutex_);
    change(counters_);
  }

  DownloadCounters read() const {
    const std::lock_guard lock(mutex_);
    return counters_;
  }

 private:
  mutable std::mutex mutex_;
  DownloadCounters counters_;
};

std::string_view firstNonEmpty(std::initializer_list<std::string_view> texts) {
  const auto* const text =
      std::find_if(texts.begin(), texts.end(), [](std::string_view t) { return !t.empty(); });
  return text == texts.end() ? std::string_view() : *text;
}

bool isValidationFailure(const Error& error) {
  return error.domain == kDownloadManagerErrorDomain &&
         (error.code == kSizeMismatchError || error.code == kMD5MismatchError ||
          error.code == kSHA256MismatchError);
}

void finishRun(const DownloadCounters& counters,
               const DownloadQueueManager::RunCompletion& completion) {
  CrawlerLogger::logInfo("Download queue finished. " + summaryText(counters));
  if (completion) completion(counters);
}

}  // namespace

// All that the steps of one run have in common. Each holds the run and an index, no more, so that
// a hundred thousand that wait are cheap.
//
// The group's final step holds the counters and not the run: the run holds the group, and where
// steps were discarded the final step is never called and never destroyed.
struct DownloadQueueManager::Run : std::enable_shared_from_this<Run> {
  Run(PackageList runPackages, const std::optional<URL>& runRepositoryURL,
      std::string runDestinationPath, RunProgress runProgress, MainQueue& runMainQueue,
      std::shared_ptr<Shared> runShared, Installer4Retrieval runRetrieval)
      : packages(std::move(runPackages)),
        repositoryURL(runRepositoryURL),
        destinationPath(std::move(runDestinationPath)),
        progress(std::move(runProgress)),
        mainQueue(runMainQueue),
        shared(std::move(runShared)),
        retrieval(std::move(runRetrieval)) {}

  // The package step: ends as soon as the package is skipped or its transfer has started.
  void performStep(std::size_t index);

  const PackageList packages;
  const std::optional<URL> repositoryURL;
  const std::string destinationPath;
  const RunProgress progress;
  MainQueue& mainQueue;
  const std::shared_ptr<Shared> shared;
  const Installer4Retrieval retrieval;
  const std::shared_ptr<RunCounters> counters = std::make_shared<RunCounters>();
  const DispatchGroup group;

 private:
  void startDownload(std::size_t index);
  void startInstaller4Download(std::size_t index);
  void endDownload(const PackageEntry& package, bool success,
                   const std::optional<std::string>& localPath, const std::optional<Error>& error);
  void endInstaller4Download(const PackageEntry& package, bool success, bool verified,
                             bool validationFailed, const std::optional<Error>& error);

  // The end of every package: counts its outcome, reports it and leaves the group.
  template <typename Change>
  void endPackage(Change change);
  void postProgress();
};

void DownloadQueueManager::Run::performStep(std::size_t index) {
  if (shared->cancelled) {
    return endPackage([](DownloadCounters& counts) { ++counts.skipped; });
  }
  const PackageEntry& package = packages[index];
  const std::string name = localFilenameForPackage(package);
  if (fileExists(joinPath(destinationPath, name))) {
    CrawlerLogger::logSuccess(fmt::format("Skipped existing file: {}", name));
    return endPackage([](DownloadCounters& counts) { ++counts.skipped; });
  }
  if (package.installer4Package()) {
    startInstaller4Download(index);
  } else {
    startDownload(index);
  }
}

void DownloadQueueManager::Run::startDownload(std::size_t index) {
  shared->downloadManager->downloadPackage(
      packages[index], repositoryURL, destinationPath,
      [run = shared_from_this(), index](bool success, const std::optional<std::string>& localPath,
                                        const std::optional<Error>& error) {
        run->endDownload(run->packages[index], success, localPath, error);
      });
}

void DownloadQueueManager::Run::startInstaller4Download(std::size_t index) {
  retrieval.downloadInstaller4Package(
      packages[index], repositoryURL, destinationPath,
      [run = shared_from_this(), index](bool success, bool verified, bool validationFailed,
                                        const std::optional<Error>& error) {
        run->endInstaller4Download(run->packages[index], success, verified, validationFailed,
                                   error);
      });
}

void DownloadQueueManager::Run::endDownload(const PackageEntry& package, bool success,
                                            const std::optional<std::string>& localPath,
                                            const std::optional<Error>& error) {
  endPackage([&](DownloadCounters& counts) {
    if (success) {
      ++counts.downloaded;
      ++counts.verified;
      CrawlerLogger::logSuccess(
          fmt::format("Downloaded and verified: {}",
                      firstNonEmpty({lastPathComponent(localPath ? *localPath : std::string_view()),
                                     withoutPasswords(package.filename()), "Unknown file"})));
    } else {
      ++counts.failed;
      if (error && isValidationFailure(*error)) ++counts.validationFailed;
      CrawlerLogger::logError(
          fmt::format("Download failed: {}",
                      firstNonEmpty({error ? error->description : std::string_view(),
                                     withoutPasswords(package.filename()), "Unknown error"})));
    }
  });
}

void DownloadQueueManager::Run::endInstaller4Download(const PackageEntry& package, bool success,
                                                      bool verified, bool validationFailed,
                                                      const std::optional<Error>& error) {
  endPackage([&](DownloadCounters& counts) {
    if (success) {
      ++counts.downloaded;
      if (verified) ++counts.verified;
      CrawlerLogger::logSuccess(
          fmt::format("Downloaded Installer 4 package: {}",
                      firstNonEmpty({localFilenameForPackage(package), "Unknown file"})));
    } else {
      ++counts.failed;
      if (validationFailed) ++counts.validationFailed;
      CrawlerLogger::logError(fmt::format(
          "Failed Installer 4 package: {}",
          firstNonEmpty({error ? error->description : std::string_view(), "Unknown error"})));
    }
  });
}

template <typename Change>
void DownloadQueueManager::Run::endPackage(Change change) {
  counters->update(change);
  postProgress();
  group.leave();
}

void DownloadQueueManager::Run::postProgress() {
  if (!progress) return;
  mainQueue.post(
      [run = shared_from_this()] { run->progress(run->counters->read(), run->packages.size()); });
}

DownloadQueueManager::DownloadQueueManager(MainQueue& mainQueue,
                                           const HTTPClientFactory& clientFactory)
    : DownloadQueueManager(mainQueue, std::make_shared<DownloadManager>(clientFactory),
                           clientFactory) {}

DownloadQueueManager::DownloadQueueManager(MainQueue& mainQueue,
                                           std::shared_ptr<DownloadManager> downloadManager,
                                           const HTTPClientFactory& clientFactory)
    : Installer4Retrieval(clientFactory),
      mainQueue_(mainQueue),
      shared_(std::make_shared<Shared>()),
      queue_(kDefaultWidth) {
  shared_->downloadManager = std::move(downloadManager);
}

void DownloadQueueManager::setObserver(const PackageObserver& observer) {
  shared_->downloadManager->setObserver(observer);
  Installer4Retrieval::setObserver(observer);
}

std::int64_t DownloadQueueManager::maxConcurrentDownloads() const {
  return queue_.maxConcurrentOperationCount();
}

void DownloadQueueManager::setMaxConcurrentDownloads(std::int64_t maximum) {
  queue_.setMaxConcurrentOperationCount(std::max<std::int64_t>(maximum, 1));
}

std::string DownloadQueueManager::localFilenameForPackage(const PackageEntry& package) {
  return package.installer4Package() ? installer4BestKnownLocalFilenameForPackage(package)
                                     : DownloadManager::localFilenameForPackage(package);
}

DownloadQueueManager::PackageList DownloadQueueManager::missingPackagesFromPackages(
    const PackageList& packages, const std::string& destinationPath) {
  TemporaryFile::removeStale(destinationPath);
  PackageList missing;
  std::copy_if(packages.begin(), packages.end(), std::back_inserter(missing),
               [&](const PackageEntry& package) {
                 return !fileExists(
                     joinPath(destinationPath, DownloadManager::localFilenameForPackage(package)));
               });
  return missing;
}

void DownloadQueueManager::startRun(const PackageList& packages,
                                    const std::optional<URL>& repositoryURL,
                                    const std::string& destinationPath, RunProgress progress,
                                    RunCompletion completion) {
  shared_->cancelled = false;
  shared_->hasInstaller4Packages = false;
  TemporaryFile::removeStale(destinationPath);
  CrawlerLogger::logInfo(fmt::format("Starting download queue: {} package(s)", packages.size()));
  if (packages.empty()) {
    CrawlerLogger::logWarning("Download queue is empty.");
    if (completion) completion({});
    return;
  }

  const auto run =
      std::make_shared<Run>(packages, repositoryURL, destinationPath, std::move(progress),
                            mainQueue_, shared_, Installer4Retrieval(*this));
  for (std::size_t index = 0; index < run->packages.size(); ++index) {
    if (run->packages[index].installer4Package()) shared_->hasInstaller4Packages = true;
    run->group.enter();
    queue_.addOperation([run, index] { run->performStep(index); });
  }
  run->group.notify(mainQueue_, [counters = run->counters, completion = std::move(completion)] {
    finishRun(counters->read(), completion);
  });
}

void DownloadQueueManager::downloadPackages(const PackageList& packages,
                                            const std::optional<URL>& repositoryURL,
                                            const std::string& destinationPath, Progress progress,
                                            Completion completion) {
  RunProgress runProgress;
  if (progress) {
    runProgress = [progress = std::move(progress)](const DownloadCounters& c, std::uint64_t total) {
      progress(c.completed(), total, c.failed, c.skipped, c.verified, c.validationFailed);
    };
  }
  RunCompletion runCompletion;
  if (completion) {
    runCompletion = [completion = std::move(completion)](const DownloadCounters& c) {
      completion(c.downloaded, c.failed, c.skipped, c.verified, c.validationFailed);
    };
  }
  startRun(packages, repositoryURL, destinationPath, std::move(runProgress),
           std::move(runCompletion));
}

void DownloadQueueManager::cancelAllDownloads() {
  shared_->cancelled = true;
  CrawlerLogger::logWarning("Download queue cancellation requested.");
  queue_.cancelAllOperations();
}

}  // namespace tolvane
