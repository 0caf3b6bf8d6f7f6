// SPDX-License-Identifier: MIT
#pragma once

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
#include "model/RepositoryKind.h"
#include "repository/IndexAnswer.h"

namespace tolvane {

inline constexpr std::string_view kRepositoryFetcherErrorDomain = "RepositoryFetcher";

// Loads a repository of any kind.
//
// Its own errors have the code 404 of kRepositoryFetcherErrorDomain; those of the Installer readers
// are passed on as they are.
//
// Every fetch reports its steps on the log bus and ends with exactly one call of its completion, on
// a background thread, with a list or an error (an Installer 3 fetch also with neither). A fetch
// carries all that it needs: any number may run at once, and the fetcher may be destroyed before
// they end.
class RepositoryFetcher {
 public:
  using PackageList = std::vector<PackageEntry>;
  using CandidatePaths = std::shared_ptr<const std::vector<std::string>>;
  using Completion = std::function<void(std::optional<PackageList>, std::optional<Error>)>;

  explicit RepositoryFetcher(HTTPClientFactory clientFactory = makeHTTPClient,
                             IndexObserver observer = {});

  // The one of the four fetches below that the kind names.
  void fetchPackages(RepositoryKind kind, const std::optional<URL>& repositoryURL,
                     Completion completion) const;

  // APT only.
  void fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                      Completion completion) const;

  // APT, then Installer 4. Installer 3 is never detected.
  void fetchPackagesWithAutoDetectionFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                                       Completion completion) const;

  // Installer 4 only.
  void fetchInstaller4PackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                                Completion completion) const;

  // Installer 3 only. The list may be empty, and list and error may both be absent, as
  // Installer3RepositoryFetcher says.
  void fetchInstaller3PackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                                Completion completion) const;

  // Looks for an Installer 4 index; where there is none, completes with the error of
  // Installer4RepositoryFetcher.
  void tryInstaller4RepositoryURL(const std::optional<URL>& repositoryURL,
                                  Completion completion) const;

  // The end of a search for an Installer 4 index, given what its reader found: reports and
  // completes, with an error of this class where the reader found neither packages nor an error.
  static void endInstaller4Detection(std::optional<PackageList> packages,
                                     std::optional<Error> error, const Completion& completion);

  // Walks the candidates from `index` on, one request at a time, to the first one that downloads,
  // decodes and holds a package, and ends with an error when there is none.
  void tryCandidatePaths(CandidatePaths paths, std::size_t index,
                         const std::optional<URL>& repositoryURL, bool fallbackToInstaller4,
                         Completion completion) const;

  // The paths below a repository URL at which an APT index is looked for, in order.
  static CandidatePaths candidatePaths();

  static std::optional<URL> URLForCandidatePath(std::string_view path,
                                                const std::optional<URL>& repositoryURL);

  // A new session for one candidate: 30 seconds a wait, 60 seconds a transfer.
  std::shared_ptr<HTTPClient> freshSession() const;

  // The text of a payload, or no value when it cannot be decoded. Text is UTF-8 (a leading
  // byte-order mark is dropped) or else ISO 8859-1.
  static std::optional<std::string> stringFromTextData(std::string bytes);
  static std::optional<std::string> stringFromGzipData(std::string_view bytes);
  static std::optional<std::string> stringFromBzip2Data(std::string_view bytes);
  static std::optional<std::string> stringFromXZData(std::string_view bytes);

  // The one of the four above for the path's ending: ".gz", ".bz2", ".xz", any other.
  static std::optional<std::string> stringFromData(std::string bytes, std::string_view path);

 private:
  HTTPClientFactory clientFactory_;
  IndexObserver observer_;  // may be empty
};

}  // namespace tolvane
