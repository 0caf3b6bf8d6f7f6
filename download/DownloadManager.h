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

namespace tolvane {

inline constexpr std::string_view kDownloadManagerErrorDomain = "DownloadManager";

enum DownloadManagerError : int {
  kNoFilenameError = 1001,
  kFileMissingError = 2001,
  kSizeMismatchError = 2002,
  kMD5MismatchError = 2003,
  kSHA256MismatchError = 2004,
};

// What one attempt downloads and where to. Types of their own, so that neither can be taken for the
// repository's URL and the folder of the whole download.
struct DownloadURL {
  std::optional<URL> url;
};
struct LocalPath {
  std::string path;
};

// Downloads one package file into a folder and checks it against the size and digests that the
// index gives. Keeps no state of a download, so any number may be under way.
class DownloadManager {
 public:
  // On success the path of the file and no error; on failure no path and the error.
  using Completion =
      std::function<void(bool success, std::optional<std::string> localPath, std::optional<Error>)>;

  explicit DownloadManager(const HTTPClientFactory& clientFactory = makeHTTPClient);
  virtual ~DownloadManager() = default;

  // Before the first download.
  void setObserver(PackageObserver observer) { observer_ = std::move(observer); }

  // Downloads, moves into place and validates. The file gets its name before it is validated, and
  // one that fails validation stays. Where a file or folder of that name exists already, that is a
  // success and nothing is checked. The completion runs on a background thread, or at once on the
  // calling one where nothing is sent.
  virtual void downloadPackage(const PackageEntry& package, const std::optional<URL>& repositoryURL,
                               const std::string& destinationPath, Completion completion);

  // One attempt; the folder of `localPath` must exist. A timeout (-1001) is tried again after 2
  // seconds while `retryCount` is above 0.
  void downloadPackage(const PackageEntry& package, DownloadURL downloadURL, LocalPath localPath,
                       int retryCount, Completion completion);

  // Size, MD5 and SHA-256, in this order, each only where the index gives it.
  static std::optional<Error> validationErrorForPackage(const PackageEntry& package,
                                                        const std::string& localPath);

  // Lower-case hexadecimal digest: SHA-256 for the type "SHA256", MD5 for every other. No value
  // when the file cannot be read.
  static std::optional<std::string> hashForFileAtPath(const std::string& path,
                                                      std::string_view type);

  static std::optional<URL> URLForPackage(const PackageEntry& package,
                                          const std::optional<URL>& repositoryURL);

  // Where a package is saved, and whether it counts as already present, is decided by this name:
  // the last path component of `filename`, or else "packageName_version.deb". Never empty, but it
  // comes unchanged from the index: downloadPackage() refuses one that would leave the folder.
  static std::string localFilenameForPackage(const PackageEntry& package);

 private:
  struct Attempt;

  // Reports, logs `text` and completes.
  void fail(const PackageEntry& package, const Completion& completion, const Error& error,
            const std::string& text) const;

  PackageObserver observer_;             // may be empty
  std::shared_ptr<HTTPClient> session_;  // 60 seconds a wait, 300 seconds a transfer
};

}  // namespace tolvane
