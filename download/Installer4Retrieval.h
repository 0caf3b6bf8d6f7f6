// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Error.h"
#include "base/URL.h"
#include "download/Outcome.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"
#include "plist/PropertyList.h"

namespace tolvane {

inline constexpr std::string_view kInstaller4ErrorDomain = "Installer4";

// Other codes of this domain are the HTTP status of an answer that is no success, or has no body.
enum Installer4Error : int {
  kNoInfoURLError = 1001,
  kNoLocationError = 1002,
  kInvalidInfoURLError = 1003,
  kInvalidZipURLError = 1004,
};

// What the download queue does for a package of an Installer 4 repository: it reads the package's
// information list, which names the ZIP file, and downloads that. Either may also be found inside
// the repository: when its first address fails, that one is tried once.
//
// A value. A retrieval carries all that it needs, so that the queue may be destroyed meanwhile.
// Completions are called once, on a background thread, or at once on the calling one where nothing
// is sent.
class Installer4Retrieval {
 public:
  // (true, true, false, none) for a saved ZIP file, which counts as verified without a check;
  // (false, false, false, error) otherwise. The error may be absent: an information list that was
  // read but is no dictionary.
  using RetrievalCompletion =
      std::function<void(bool success, bool verified, bool validationFailed, std::optional<Error>)>;
  // The list, or an error, or neither (see above).
  using InfoCompletion =
      std::function<void(std::optional<PropertyList::Dictionary>, std::optional<Error>)>;

  explicit Installer4Retrieval(const HTTPClientFactory& clientFactory);

  // Called at the end of every retrieval. To be set before the first one.
  void setObserver(PackageObserver observer) { observer_ = std::move(observer); }

  void downloadInstaller4Package(const PackageEntry& package,
                                 const std::optional<URL>& repositoryURL,
                                 const std::string& destinationPath,
                                 RetrievalCompletion completion) const;

  void fetchInstaller4PackageInfoFromURL(const std::optional<URL>& url,
                                         const std::optional<URL>& fallbackURL,
                                         InfoCompletion completion) const;
  void fetchInstaller4PackageInfoFromURL(const std::optional<URL>& url,
                                         InfoCompletion completion) const;

  // Saves under the last path component of the URL that was fetched.
  void downloadInstaller4PackageZipFromURL(const std::optional<URL>& url,
                                           const std::optional<URL>& fallbackURL,
                                           const std::string& destinationPath,
                                           RetrievalCompletion completion) const;
  void downloadInstaller4PackageZipFromURL(const std::optional<URL>& url,
                                           const std::string& destinationPath,
                                           RetrievalCompletion completion) const;

  // The URL of that string, with a "/" inserted before "packages/" where it is missing.
  static std::optional<URL> cleanedInstaller4URLFromString(std::string_view text);

  // The location from its folder "packages/" on, below the repository.
  static std::optional<URL> installer4FallbackDownloadURLForLocationString(
      std::string_view location, const std::optional<URL>& repositoryURL);

  // The information list of that name in the folder "info/" of the repository.
  static std::optional<URL> installer4FallbackInfoURLForPackage(
      const PackageEntry& package, const std::optional<URL>& repositoryURL);

  // The name that the package's ZIP file is expected to have. The file's own name comes from the
  // information list, so it may be another.
  static std::string installer4BestKnownLocalFilenameForPackage(const PackageEntry& package);

 private:
  // As downloadInstaller4Package(), without a call of the observer.
  void retrieve(const PackageEntry& package, const std::optional<URL>& repositoryURL,
                const std::string& destinationPath, RetrievalCompletion completion) const;

  PackageObserver observer_;                  // may be empty
  std::shared_ptr<LastRequest> lastRequest_;  // of one retrieval; null without an observer
  std::shared_ptr<HTTPClient> session_;       // with the default timeouts
};

}  // namespace tolvane
