// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "base/URL.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"
#include "plist/PropertyList.h"
#include "repository/IndexAnswer.h"

namespace tolvane {

inline constexpr std::string_view kInstaller4FetcherErrorDomain = "Installer4RepositoryFetcher";

// Reads an Installer 4 repository: an index property list whose name and folder vary, so the names
// in use are tried one after another.
//
// A fetch carries all that it needs; the fetcher may be destroyed before it ends.
class Installer4RepositoryFetcher {
 public:
  using PackageList = std::vector<PackageEntry>;
  using CandidatePaths = std::shared_ptr<const std::vector<std::string>>;

  // Either a list that is not empty, or an error. Called once, on a background thread; may be
  // empty.
  using Completion = std::function<void(std::optional<PackageList>, std::optional<Error>)>;

  explicit Installer4RepositoryFetcher(const HTTPClientFactory& clientFactory = makeHTTPClient,
                                       IndexObserver observer = {});

  void fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                      Completion completion) const;

  // The 284 paths below a repository URL at which an index is looked for, in order.
  static CandidatePaths installer4IndexCandidatePaths();

  // Walks the candidates from `index` on, one request at a time, to the first one that holds a
  // package. Its one error, 404 of kInstaller4FetcherErrorDomain, comes when there is none.
  void tryIndexCandidatePaths(CandidatePaths paths, std::size_t index,
                              const std::optional<URL>& repositoryURL, Completion completion) const;

  struct Reading {
    PackageList packages;
    std::string problem;       // one line, where there are no packages
    bool outOfMemory = false;  // whether that is the reason
  };

  // The packages of an index's bytes. `source`, a URL or path, is named in the problem.
  static Reading readIndex(std::string_view bytes, std::string_view source);

  // The packages among the items of an index, in order; none where there is no memory for them. The
  // repository's URL makes no difference.
  static PackageList packageEntriesFromInstaller4PackagesArray(
      const PropertyList::List& items, const std::optional<URL>& repositoryURL);

  // The text form of a value, "" for a value that is absent or has none.
  static std::string stringValueFromObject(const PropertyList* value);

  static std::optional<URL> URLForCandidatePath(std::string_view path,
                                                const std::optional<URL>& repositoryURL);

 private:
  IndexObserver observer_;               // may be empty
  std::shared_ptr<HTTPClient> session_;  // 30 seconds a wait, 60 seconds a transfer
};

}  // namespace tolvane
