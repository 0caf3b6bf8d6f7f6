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

// Saves a repository's index, release and icon files beside its packages, so that a local archive
// keeps the repository's own description of itself.
class RepositoryMetadataArchiver {
 public:
  using Paths = std::vector<std::string>;

  // Both lists hold relative paths in the order in which the downloads ended.
  using Completion = std::function<void(const Paths& archived, const Paths& missing)>;

  explicit RepositoryMetadataArchiver(MainQueue& mainQueue,
                                      const HTTPClientFactory& clientFactory = makeHTTPClient,
                                      MetadataObserver observer = {});

  // Asks for all 23 paths at once, each saved under its relative path below the folder; a file that
  // stands there is replaced only by one that has arrived whole. The completion runs on the main
  // queue; where the folder cannot be made, at once on the calling thread, with one entry in its
  // second list: what the system says of it. It may be empty.
  void archiveMetadataForRepositoryURL(const std::optional<URL>& repositoryURL,
                                       const std::string& destinationPath,
                                       Completion completion) const;

  // The paths that are asked for, in order.
  static const Paths& candidatePaths();

  static std::optional<URL> URLForCandidatePath(std::string_view path,
                                                const std::optional<URL>& repositoryURL);

 private:
  MainQueue& mainQueue_;
  MetadataObserver observer_;            // may be empty
  std::shared_ptr<HTTPClient> session_;  // with the default timeouts
};

}  // namespace tolvane
