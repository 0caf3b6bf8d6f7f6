// SPDX-License-Identifier: MIT
#include "download/RepositoryMetadataArchiver.h"

#include <fmt/format.h>
#include <mutex>
#include <utility>

#include "async/DispatchGroup.h"
#include "base/File.h"
#include "base/SystemLog.h"
#include "base/TemporaryFile.h"
#include "download/FailureTexts.h"

namespace tolvane {

namespace {

// The paths of one run that have ended.
struct Outcome {
  std::mutex mutex;
  RepositoryMetadataArchiver::Paths archived;
  RepositoryMetadataArchiver::Paths missing;
};

// Moves the file of a successful answer into place; sets `error` where that fails.
bool save(TemporaryFile file, const std::optional<HTTPResponse>& response,
          std::optional<Error>& error, const std::string& localPath) {
  if (error || !isSuccess(statusOf(response))) return false;
  error = file.moveTo(localPath);
  return !error;
}

}  // namespace

RepositoryMetadataArchiver::RepositoryMetadataArchiver(MainQueue& mainQueue,
                                                       const HTTPClientFactory& clientFactory,
                                                       MetadataObserver observer)
    : mainQueue_(mainQueue),
      observer_(std::move(observer)),
      session_(clientFactory(HTTPOptions())) {}

void RepositoryMetadataArchiver::archiveMetadataForRepositoryURL(
    const std::optional<URL>& repositoryURL, const std::string& destinationPath,
    Completion completion) const {
  if (const std::optional<Error> error = createFolder(destinationPath)) {
    if (completion) completion({}, {metadataFolderFailureText(*error)});
    return;
  }

  const auto outcome = std::make_shared<Outcome>();
  const DispatchGroup group;
  for (const std::string& path : candidatePaths()) {
    const std::string localPath = joinPath(destinationPath, path);
    const std::string folder = folderOf(localPath);
    createFolder(folder);  // where that fails, so does the move
    group.enter();
    const std::optional<URL> url = URLForCandidatePath(path, repositoryURL);
    session_->download(
        {url, {}}, folder,
        [outcome, group, path, localPath, url, observer = observer_](
            TemporaryFile file, std::optional<HTTPResponse> response, std::optional<Error> error) {
          const bool saved = save(std::move(file), response, error, localPath);
          if (observer) {
            observer({path, {url, std::move(response), saved ? localPath : ""}, error});
          }
          {
            const std::lock_guard lock(outcome->mutex);
            (saved ? outcome->archived : outcome->missing).push_back(path);
          }
          group.leave();
        });
  }
  group.notify(mainQueue_, [outcome, completion = std::move(completion)] {
    SystemLog::write("[Metadata] Archived {} metadata files, {} missing/failed.",
                     outcome->archived.size(), outcome->missing.size());
    if (completion) completion(outcome->archived, outcome->missing);
  });
}

const RepositoryMetadataArchiver::Paths& RepositoryMetadataArchiver::candidatePaths() {
  static const Paths paths = [] {
    Paths list{"Packages",
               "Packages.gz",
               "Packages.bz2",
               "Packages.xz",
               "Release",
               "InRelease",
               "Release.gpg",
               "CydiaIcon.png",
               "dists/stable/Release",
               "dists/stable/InRelease",
               "dists/stable/Release.gpg"};
    for (const char* suite : {"stable", "ios", "tangelo"}) {
      for (const char* ending : {"", ".gz", ".bz2", ".xz"}) {
        list.push_back(fmt::format("dists/{}/main/binary-iphoneos-arm/Packages{}", suite, ending));
      }
    }
    return list;
  }();
  return paths;
}

std::optional<URL> RepositoryMetadataArchiver::URLForCandidatePath(
    std::string_view path, const std::optional<URL>& repositoryURL) {
  return urlForCandidatePath(path, repositoryURL);
}

}  // namespace tolvane
