// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "archive_client/CentralArchiveClient.h"
#include "async/Lifetime.h"
#include "async/MainQueue.h"
#include "base/Error.h"
#include "base/URL.h"
#include "download/DownloadCounters.h"
#include "download/DownloadQueueManager.h"
#include "model/PackageEntry.h"
#include "model/RepositoryKind.h"
#include "workflow/DownloadWorkflow.h"
#include "workflow/WorkflowObserver.h"

namespace tolvane {

// The repository that is loaded at the moment. Valid during one step of a workflow.
struct LoadedRepository {
  const std::vector<PackageEntry>& packages;  // all of them, in the order of the index
  const std::optional<URL>& url;
  RepositoryKind kind;  // as it was chosen
};

// Uploads to the central archive what it lacks of a repository, in four stages: the check, the
// question whether to go on, an upload token, and then the downloads into a cache folder, one at a
// time, with the uploads after them. Each stage reads the repository as it is by then. Main thread.
class ArchiveWorkflow {
 public:
  using PackageList = std::vector<PackageEntry>;

  // What uploads have come to so far.
  struct Uploads {
    std::shared_ptr<const PackageList> packages;
    std::string folder;
    std::size_t index = 0;  // of the package that is next
    std::uint64_t successful = 0;
    std::uint64_t failed = 0;
  };

  // What the workflow stands on; all of it outlives the workflow.
  struct Services {
    MainQueue& mainQueue;
    CentralArchiveClient& client;
    DownloadQueueManager& queue;
    DownloadWorkflow& downloads;
    std::function<LoadedRepository()> repository;
  };

  ArchiveWorkflow(Services services, WorkflowObserver& observer)
      : services_(std::move(services)), observer_(observer) {}

  // Of the last check that succeeded, as the archive sent them.
  const MissingPackages& lastMissing() const { return lastMissing_; }

  // Stages 1 and 2. Does nothing where no repository is loaded.
  void check();

  // Stage 3, and stage 4 once there is a token.
  void requestToken();

  // The packages of the repository that the last check found missing, in the archive's order.
  PackageList matchedPackages() const;

  // Stage 4: downloads what the cache lacks of them, and uploads all of them.
  void begin();

  // Uploads the package at the index and, once its outcome is known, those after it.
  void upload(Uploads uploads);

  // The cache: "Tolvane/CentralArchiveUploads" in the user's folder for caches. It is created.
  static std::string cacheFolder();

 private:
  void checkDidComplete(MissingPackages missing, const std::optional<Error>& error);
  void tokenDidArrive(const std::optional<std::string>& token, const std::optional<Error>& error);
  void download(PackageList packages, const std::string& folder);
  void downloadsDidFinish(const DownloadCounters& counters, const std::string& folder);
  void send(const Uploads& uploads);
  void reportUpload(const std::string& name, const std::string& path, bool uploaded,
                    const std::optional<Error>& error);
  void finish(const Uploads& uploads);

  Services services_;
  WorkflowObserver& observer_;
  MissingPackages lastMissing_;
  Lifetime lifetime_;
};

}  // namespace tolvane
