// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "async/MainQueue.h"
#include "async/OperationQueue.h"
#include "download/DownloadCounters.h"
#include "download/DownloadManager.h"
#include "download/Installer4Retrieval.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Downloads a list of packages into one folder, skips those already there, and counts.
//
// maxConcurrentDownloads() limits package steps (a check of the disk and the start of a transfer);
// transfers are limited by their HTTPClient alone.
class DownloadQueueManager : public Installer4Retrieval {
 public:
  using PackageList = std::vector<PackageEntry>;
  using RunProgress = std::function<void(const DownloadCounters&, std::uint64_t total)>;
  using RunCompletion = std::function<void(const DownloadCounters&)>;

  // The same with an argument for each counter. Mind that they come in different orders.
  using Progress = std::function<void(std::uint64_t completed, std::uint64_t total,
                                      std::uint64_t failed, std::uint64_t skipped,
                                      std::uint64_t verified, std::uint64_t validationFailed)>;
  using Completion =
      std::function<void(std::uint64_t downloaded, std::uint64_t failed, std::uint64_t skipped,
                         std::uint64_t verified, std::uint64_t validationFailed)>;

  explicit DownloadQueueManager(MainQueue& mainQueue,
                                const HTTPClientFactory& clientFactory = makeHTTPClient);
  DownloadQueueManager(MainQueue& mainQueue, std::shared_ptr<DownloadManager> downloadManager,
                       const HTTPClientFactory& clientFactory = makeHTTPClient);

  // Called at the end of every package that a run does not skip. To be set before the first run.
  void setObserver(const PackageObserver& observer);

  std::int64_t maxConcurrentDownloads() const;           // 5 at first
  void setMaxConcurrentDownloads(std::int64_t maximum);  // below 1 counts as 1

  bool hasInstaller4Packages() const { return shared_->hasInstaller4Packages; }
  bool cancelled() const { return shared_->cancelled; }

  // The name under which a package step looks for a package before it downloads it: the best known
  // one for a package of an Installer 4 repository, the rule of DownloadManager for any other.
  static std::string localFilenameForPackage(const PackageEntry& package);

  // The packages whose name, by the rule of DownloadManager for every kind of package, does not
  // exist in the folder, in their order. On the calling thread. As a run does, it first removes the
  // temporary files that killed processes have left in the folder.
  static PackageList missingPackagesFromPackages(const PackageList& packages,
                                                 const std::string& destinationPath);

  // Starts a run and returns. Progress is called once for each package. Both callbacks run on the
  // main queue and may be empty; an empty list completes at once on the calling thread. A run that
  // is cancelled while packages wait has no completion.
  void startRun(const PackageList& packages, const std::optional<URL>& repositoryURL,
                const std::string& destinationPath, RunProgress progress, RunCompletion completion);

  // startRun() for callbacks that take the counters one by one.
  void downloadPackages(const PackageList& packages, const std::optional<URL>& repositoryURL,
                        const std::string& destinationPath, Progress progress,
                        Completion completion);

  // Discards the packages that wait. Transfers under way finish and are counted.
  void cancelAllDownloads();

 private:
  // The part of the queue that package steps use; they may outlive the queue.
  struct Shared {
    std::atomic<bool> cancelled{false};
    std::atomic<bool> hasInstaller4Packages{false};
    std::shared_ptr<DownloadManager> downloadManager;
  };
  struct Run;

  MainQueue& mainQueue_;
  std::shared_ptr<Shared> shared_;
  OperationQueue queue_;
};

}  // namespace tolvane
