// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "async/Lifetime.h"
#include "base/URL.h"
#include "download/DownloadCounters.h"
#include "download/DownloadQueueManager.h"
#include "download/RepositoryMetadataArchiver.h"
#include "model/PackageEntry.h"
#include "workflow/WorkflowObserver.h"

namespace tolvane {

// What a folder lacks of a repository.
struct MissingScan {
  std::vector<PackageEntry> missing;  // in the order of the index
  std::size_t alreadyPresent = 0;

  // "Missing: 2   Already present: 40"
  std::string text() const;
};

// By DownloadQueueManager::missingPackagesFromPackages(), on the calling thread.
MissingScan scanForMissing(const std::vector<PackageEntry>& packages, const std::string& folder);

// Packages, and the folder that they are downloaded to.
struct DownloadRun {
  std::vector<PackageEntry> packages;
  std::optional<URL> repositoryURL;
  std::string folder;
  // Of the scan that gave the packages; none for packages that were chosen one by one. The texts of
  // the run say which of the two it is.
  std::optional<std::size_t> alreadyPresent = std::nullopt;
};

struct DownloadEnd {
  DownloadCounters counters;
  std::string text;     // one line: "Finished. Downloaded: 3  Verified: 3  ..."
  std::string details;  // the counters, one a line

  LogType type() const { return counters.hasErrors() ? LogType::error : LogType::success; }
};

// Downloads packages through the queue and reports how far it is. Main thread.
class DownloadWorkflow {
 public:
  using Completion = std::function<void(const DownloadEnd&)>;

  // The references outlive the workflow. A run under way when it is destroyed carries on without
  // reports and has no completion.
  DownloadWorkflow(DownloadQueueManager& queue, RepositoryMetadataArchiver& metadataArchiver,
                   WorkflowObserver& observer)
      : queue_(queue), metadataArchiver_(metadataArchiver), observer_(observer) {}

  void start(const DownloadRun& run, const Completion& completion);

  // The part of it that other workflows need: the queue's callbacks with a determinate progress.
  void runQueue(const DownloadRun& run, DownloadQueueManager::RunProgress progress,
                DownloadQueueManager::RunCompletion completion);

  // Saves the repository's metadata files into the folder, in parallel to whatever runs. Nothing
  // waits for it, and its outcome goes to the system log alone.
  void saveMetadata(const std::optional<URL>& repositoryURL, const std::string& folder);

  // Discards the packages that wait; if there were any, the run has no completion. Transfers under
  // way finish.
  void cancel();

 private:
  DownloadQueueManager& queue_;
  RepositoryMetadataArchiver& metadataArchiver_;
  WorkflowObserver& observer_;
  Lifetime lifetime_;
};

}  // namespace tolvane
