// SPDX-License-Identifier: MIT
#include "download/DownloadManager.h"

#include <cerrno>
#include <chrono>
#include <utility>

#include "async/Dispatch.h"
#include "base/Digest.h"
#include "base/File.h"
#include "base/SystemLog.h"
#include "base/TemporaryFile.h"
#include "base/Text.h"
#include "download/FailureTexts.h"
#include "model/CrawlerLogger.h"

namespace tolvane {

namespace {

constexpr auto kRetryDelay = std::chrono::seconds(2);
constexpr std::uint64_t kLongestExcess = std::uint64_t{64} << 20;  // over the size in the index

Error managerError(DownloadManagerError code, std::string description) {
  return {std::string(kDownloadManagerErrorDomain), code, std::move(description)};
}

// The size that the index gives; 0 where it gives none, or no number.
std::int64_t expectedSize(const PackageEntry& package) {
  return integerValue(package.size());
}

// Where a transfer without end is given up; the exact size is validated afterwards.
std::optional<std::uint64_t> maximumFileSize(const PackageEntry& package) {
  const std::int64_t size = expectedSize(package);
  if (size <= 0) return std::nullopt;
  return static_cast<std::uint64_t>(size) + kLongestExcess;
}

std::optional<Error> sizeError(const PackageEntry& package, std::uint64_t actual) {
  const auto expected = static_cast<std::uint64_t>(expectedSize(package));
  if (expected == 0 || expected == actual) return std::nullopt;
  return managerError(kSizeMismatchError,
                      fmt::format("Size mismatch for {}. Expected {} bytes, got {} bytes.",
                                  package.packageName(), expected, actual));
}

// A file that cannot be read has no digests, which match nothing.
std::optional<Error> digestError(const PackageEntry& package, const std::string& localPath) {
  const DigestSelection given{!package.md5sum().empty(), !package.sha256().empty()};
  if (!given.md5 && !given.sha256) return std::nullopt;
  const FileDigests digests = digestsOfFile(localPath, given).value_or(FileDigests());
  if (given.md5 && !equalsIgnoringASCIICase(digests.md5, package.md5sum())) {
    return managerError(kMD5MismatchError,
                        fmt::format("MD5 mismatch for {}.", package.packageName()));
  }
  if (given.sha256 && !equalsIgnoringASCIICase(digests.sha256, package.sha256())) {
    return managerError(kSHA256MismatchError,
                        fmt::format("SHA256 mismatch for {}.", package.packageName()));
  }
  return std::nullopt;
}

}  // namespace

// One package that is being downloaded. It holds what the transfer needs, so that the manager may
// be destroyed meanwhile.
struct DownloadManager::Attempt {
  std::shared_ptr<HTTPClient> session;
  PackageEntry package;
  std::optional<URL> url;
  std::string localPath;
  int retryCount;
  Completion completion;
  PackageObserver observer;

  static void start(const std::shared_ptr<Attempt>& attempt);

 private:
  void receive(TemporaryFile file, std::optional<HTTPResponse> response) const;
  void succeed(const LastRequest& request) const;
  void fail(const LastRequest& request, const Error& error, const std::string& text) const;
};

void DownloadManager::Attempt::start(const std::shared_ptr<Attempt>& attempt) {
  HTTPRequest request{attempt->url, {}};
  request.maximumFileSize = maximumFileSize(attempt->package);
  attempt->session->download(
      std::move(request), folderOf(attempt->localPath),
      [attempt](TemporaryFile file, std::optional<HTTPResponse> response,
                const std::optional<Error>& error) {
        if (!error) {
          attempt->receive(std::move(file), std::move(response));
        } else if (error->code == kURLErrorTimedOut && attempt->retryCount > 0) {
          --attempt->retryCount;
          const std::string line =
              fmt::format("Timeout, retrying once: {}", displayText(attempt->url));
          SystemLog::write("[Download] {}", line);
          CrawlerLogger::logWarning(line);
          dispatchAfter(kRetryDelay, [attempt] { start(attempt); });
        } else {
          attempt->fail({attempt->url, std::move(response), ""}, *error,
                        transferFailureText(*error));
        }
      });
}

void DownloadManager::Attempt::receive(TemporaryFile file,
                                       std::optional<HTTPResponse> response) const {
  LastRequest request{url, std::move(response), ""};
  if (const std::optional<Error> error = file.moveTo(localPath)) {
    return fail(request, *error, moveFailureText(*error));
  }
  request.localPath = localPath;
  if (const std::optional<Error> mismatch = validationErrorForPackage(package, localPath)) {
    fail(request, *mismatch, validationFailureText(*mismatch));
  } else {
    succeed(request);
  }
}

void DownloadManager::Attempt::succeed(const LastRequest& request) const {
  if (observer) observer({package, request, true, std::nullopt});
  completion(true, localPath, std::nullopt);
}

void DownloadManager::Attempt::fail(const LastRequest& request, const Error& error,
                                    const std::string& text) const {
  CrawlerLogger::logError(text);
  if (observer) observer({package, request, false, error});
  completion(false, std::nullopt, error);
}

DownloadManager::DownloadManager(const HTTPClientFactory& clientFactory)
    : session_(clientFactory({.timeoutIntervalForRequest = std::chrono::seconds(60),
                              .timeoutIntervalForResource = std::chrono::seconds(300)})) {}

void DownloadManager::downloadPackage(const PackageEntry& package,
                                      const std::optional<URL>& repositoryURL,
                                      const std::string& destinationPath, Completion completion) {
  if (package.filename().empty()) {
    const Error error = managerError(kNoFilenameError, "Package has no Filename field.");
    return fail(package, completion, error, error.description);
  }

  const std::string name = localFilenameForPackage(package);
  const std::string localPath = joinPath(destinationPath, name);
  if (fileExists(localPath)) {
    CrawlerLogger::logSuccess(fmt::format("Already downloaded: {}", name));
    if (observer_)
      observer_({package, {std::nullopt, std::nullopt, localPath}, true, std::nullopt});
    return completion(true, localPath, std::nullopt);
  }
  const auto refuse = [&](const Error& error) {
    fail(package, completion, error, transferFailureText(error));
  };
  if (!isFileName(name)) return refuse(posixError(EINVAL));
  if (const std::optional<Error> error = createFolder(destinationPath)) {
    return fail(package, completion, *error, destinationFailureText(*error));
  }
  // The move would fail too, but only after the download.
  if (isNameTooLong(localPath)) return refuse(posixError(ENAMETOOLONG));

  const std::optional<URL> url = URLForPackage(package, repositoryURL);
  SystemLog::write("[Download] {}", describe(url));
  CrawlerLogger::logInfo(fmt::format("Downloading: {}", displayText(url)));
  downloadPackage(package, DownloadURL{url}, LocalPath{localPath}, 1, std::move(completion));
}

void DownloadManager::fail(const PackageEntry& package, const Completion& completion,
                           const Error& error, const std::string& text) const {
  CrawlerLogger::logError(text);
  if (observer_) observer_({package, {}, false, error});
  completion(false, std::nullopt, error);
}

void DownloadManager::downloadPackage(const PackageEntry& package, DownloadURL downloadURL,
                                      LocalPath localPath, int retryCount, Completion completion) {
  Attempt::start(std::make_shared<Attempt>(Attempt{session_, package, std::move(downloadURL.url),
                                                   std::move(localPath.path), retryCount,
                                                   std::move(completion), observer_}));
}

std::optional<Error> DownloadManager::validationErrorForPackage(const PackageEntry& package,
                                                                const std::string& localPath) {
  const std::optional<std::uint64_t> size = fileSize(localPath);
  if (!size) return managerError(kFileMissingError, "Downloaded file does not exist.");
  if (std::optional<Error> error = sizeError(package, *size)) return error;
  if (std::optional<Error> error = digestError(package, localPath)) return error;

  const std::string line = fmt::format("Verified {}", lastPathComponent(localPath));
  SystemLog::write("[Download] {}", line);
  CrawlerLogger::logSuccess(line);
  return std::nullopt;
}

std::optional<std::string> DownloadManager::hashForFileAtPath(const std::string& path,
                                                              std::string_view type) {
  const bool sha256 = type == "SHA256";
  const std::optional<FileDigests> digests = digestsOfFile(path, {!sha256, sha256});
  if (!digests) return std::nullopt;
  return sha256 ? digests->sha256 : digests->md5;
}

std::optional<URL> DownloadManager::URLForPackage(const PackageEntry& package,
                                                  const std::optional<URL>& repositoryURL) {
  std::string_view path = package.filename();
  if (path.starts_with("http://") || path.starts_with("https://")) return URL::parse(path);
  while (path.starts_with('/')) path.remove_prefix(1);
  return URL::parse(baseText(repositoryURL).append(path));
}

std::string DownloadManager::localFilenameForPackage(const PackageEntry& package) {
  const std::string_view name = lastPathComponent(package.filename());
  if (!name.empty()) return std::string(name);
  return fmt::format("{}_{}.deb", package.packageName(), package.version());
}

}  // namespace tolvane
