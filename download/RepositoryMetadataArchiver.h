// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "async/MainQueue.h"
#include "base/URL.h"
#include "download/Outcome.h"
#include "http/HTTPClient.h"

namespace tolvane {

// Saves a repository's index, release and icon files into the folder of its packages.
class RepositoryMetadataArchiver {
 public:
  using Paths = std::vector<std::string>;

  // Both lists hold relative paths in the order in which the downloads ended.
  using Completion = std::function<void(const Paths& archived, const Paths& missing)>;

  explicit RepositoryMetadataArchiver(MainQueue& mainQueue,
                                      const HTTPClientFactory& clientFactory = makeHTTPClient,
                                      MetadataObserver observer = {});

  // Requests all 23 paths at once and saves each under its relative path below the folder; an
  // existing file is replaced only by one that has arrived whole. The completion may be empty; it
  // runs on the main queue, or, where the folder cannot be made, at once on the calling thread,
  // with the system's error message as the one entry of its second list.
  void archiveMetadataForRepositoryURL(const std::optional<URL>& repositoryURL,
                                       const std::string& destinationPath,
                                       Completion completion) const;

  // The paths that are requested, in order.
  static const Paths& candidatePaths();

  static std::optional<URL> URLForCandidatePath(std::string_view path,
                                                const std::optional<URL>& repositoryURL);

 private:
  MainQueue& mainQueue_;
  MetadataObserver observer_;            // may be empty
  std::shared_ptr<HTTPClient> session_;  // with the default timeouts
};

}  // namespace tolvane
