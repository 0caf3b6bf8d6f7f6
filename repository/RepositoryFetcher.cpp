// SPDX-License-Identifier: MIT
#include "repository/RepositoryFetcher.h"

#include <chrono>
#include <fmt/format.h>
#include <new>
#include <utility>

#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "repository/Installer3RepositoryFetcher.h"
#include "repository/Installer4RepositoryFetcher.h"
#include "repository/PackagesIndex.h"
#include "repository/PayloadDecoder.h"

namespace tolvane {

namespace {

constexpr std::string_view kNoPackagesFile = "No Cydia/APT Packages file found.";
constexpr std::string_view kNoSupportedFormat = "No supported repository format found.";

std::vector<std::string> makeCandidatePaths() {
  std::vector<std::string> paths;
  for (const char* folder :
       {"", "./", "dists/stable/main/binary-iphoneos-arm/", "dists/ios/main/binary-iphoneos-arm/",
        "dists/tangelo/main/binary-iphoneos-arm/"}) {
    for (const char* file : {"Packages", "Packages.gz", "Packages.bz2", "Packages.xz"}) {
      paths.push_back(std::string(folder) + file);
    }
  }
  return paths;
}

// An answer that was found, and whose body is too much for the maximum or for the memory.
bool isTooLong(const std::optional<Error>& error) {
  return isOutOfMemory(error) || (error && error->domain == kURLErrorDomain &&
                                  error->code == kURLErrorDataLengthExceedsMaximum);
}

// What `decode` gives; nothing where there is no memory.
template <typename Decode>
std::optional<std::string> textOrNothing(Decode decode) {
  try {
    return decode();
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::optional<std::string> textOfUnpacked(std::optional<std::string> bytes) {
  if (!bytes) return std::nullopt;
  return decodeIndexText(std::move(*bytes));
}

// One candidate's answer.
struct Answer {
  std::string body;
  std::optional<HTTPResponse> response;
  std::optional<Error> error;
};

// Reports the answer; true when there is something to decode, if only in vain.
bool isCandidate(const Answer& answer, const std::optional<URL>& url) {
  const int status = statusOf(answer.response);
  SystemLog::write("[Crawler] Response for {} -> status={} error={} bytes={}", describe(url),
                   status, describe(answer.error), answer.body.size());
  if (!isSuccess(status)) return false;
  SystemLog::write("[Crawler] Candidate exists: {}", describe(url));
  CrawlerLogger::logSuccess(fmt::format("Package index found: {}", displayText(url)));
  if (isTooLong(answer.error)) return true;
  return !answer.error && !answer.body.empty();
}

// The packages of a candidate's body; no value where that could not even be received.
PackagesIndex readBody(Answer& answer, std::string_view path) {
  if (answer.error) return {std::nullopt, isOutOfMemory(answer.error)};
  return readPackagesIndex(std::move(answer.body), path);
}

// Decodes and parses, and reports both; no value when that gives no package.
std::optional<RepositoryFetcher::PackageList> readCandidate(Answer answer, std::string_view path,
                                                            const std::optional<URL>& url,
                                                            const IndexObserver& observer) {
  const std::string address = displayText(url);
  PackagesIndex index = readBody(answer, path);
  if (index.outOfMemory) reportNotEnoughMemory({url, answer.response, "", answer.error}, observer);
  if (!index.packages) {
    SystemLog::write("[Crawler] Could not decode candidate, trying next path: {}", address);
    CrawlerLogger::logWarning(
        fmt::format("Could not decode package index, trying next path: {}", address));
    return std::nullopt;
  }
  if (index.packages->empty()) {
    SystemLog::write("[Crawler] Candidate decoded but contained no packages, trying next path: {}",
                     address);
    CrawlerLogger::logWarning(
        fmt::format("Package index contained no packages, trying next candidate: {}", address));
    return std::nullopt;
  }
  SystemLog::write("[Crawler] Using package index: {}", address);
  CrawlerLogger::logSuccess(fmt::format("Using package index: {}", address));
  return std::move(index.packages);
}

}  // namespace

RepositoryFetcher::RepositoryFetcher(HTTPClientFactory clientFactory, IndexObserver observer)
    : clientFactory_(std::move(clientFactory)), observer_(std::move(observer)) {}

void RepositoryFetcher::fetchPackages(RepositoryKind kind, const std::optional<URL>& repositoryURL,
                                      Completion completion) const {
  switch (kind) {
    case RepositoryKind::apt:
      return fetchPackagesFromRepositoryURL(repositoryURL, std::move(completion));
    case RepositoryKind::automatic:
      return fetchPackagesWithAutoDetectionFromRepositoryURL(repositoryURL, std::move(completion));
    case RepositoryKind::installer4:
      return fetchInstaller4PackagesFromRepositoryURL(repositoryURL, std::move(completion));
    case RepositoryKind::installer3:
      return fetchInstaller3PackagesFromRepositoryURL(repositoryURL, std::move(completion));
  }
}

void RepositoryFetcher::fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                                       Completion completion) const {
  SystemLog::write("[Crawler] fetchPackagesFromRepositoryURL called with: {}",
                   describe(repositoryURL));
  CrawlerLogger::logInfo(fmt::format("Fetching repository: {}", displayText(repositoryURL)));
  tryCandidatePaths(candidatePaths(), 0, repositoryURL, false, std::move(completion));
}

void RepositoryFetcher::fetchPackagesWithAutoDetectionFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  SystemLog::write("[Crawler] Auto-detect fetch called with: {}", describe(repositoryURL));
  CrawlerLogger::logInfo(
      fmt::format("Auto-detecting repository type: {}", displayText(repositoryURL)));
  tryCandidatePaths(candidatePaths(), 0, repositoryURL, true, std::move(completion));
}

void RepositoryFetcher::fetchInstaller4PackagesFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  SystemLog::write("[Crawler] Installer 4-only fetch called with: {}", describe(repositoryURL));
  tryInstaller4RepositoryURL(repositoryURL, std::move(completion));
}

void RepositoryFetcher::fetchInstaller3PackagesFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  SystemLog::write("[Crawler] Installer 3-only fetch called with: {}", describe(repositoryURL));
  CrawlerLogger::logInfo(
      fmt::format("Fetching Installer 3 repository: {}", displayText(repositoryURL)));
  Installer3RepositoryFetcher(clientFactory_, observer_)
      .fetchPackagesFromRepositoryURL(repositoryURL, std::move(completion));
}

void RepositoryFetcher::tryInstaller4RepositoryURL(const std::optional<URL>& repositoryURL,
                                                   Completion completion) const {
  SystemLog::write("[Crawler] Falling back to Installer 4 detection...");
  CrawlerLogger::logWarning("Falling back to Installer 4 detection...");
  Installer4RepositoryFetcher(clientFactory_, observer_)
      .fetchPackagesFromRepositoryURL(
          repositoryURL, [completion = std::move(completion)](std::optional<PackageList> packages,
                                                              std::optional<Error> error) {
            endInstaller4Detection(std::move(packages), std::move(error), completion);
          });
}

void RepositoryFetcher::endInstaller4Detection(std::optional<PackageList> packages,
                                               std::optional<Error> error,
                                               const Completion& completion) {
  if (packages && !packages->empty()) {
    SystemLog::write("[Crawler] Installer 4 repository detected ({} packages)", packages->size());
    CrawlerLogger::logSuccess(
        fmt::format("Installer 4 repository detected ({} packages)", packages->size()));
    return completion(std::move(packages), std::nullopt);
  }
  CrawlerLogger::logError(descriptionOr(error, kNoSupportedFormat));
  if (!error)
    error = Error{std::string(kRepositoryFetcherErrorDomain), 404, std::string(kNoSupportedFormat)};
  completion(std::nullopt, std::move(error));
}

void RepositoryFetcher::tryCandidatePaths(CandidatePaths paths, std::size_t index,
                                          const std::optional<URL>& repositoryURL,
                                          bool fallbackToInstaller4, Completion completion) const {
  if (index >= paths->size() && fallbackToInstaller4) {
    CrawlerLogger::logWarning("No Cydia/APT package index found. Trying Installer 4 detection...");
    tryInstaller4RepositoryURL(repositoryURL, std::move(completion));
    return;
  }
  if (index >= paths->size()) {
    CrawlerLogger::logError(kNoPackagesFile);
    completion(std::nullopt, Error{std::string(kRepositoryFetcherErrorDomain), 404,
                                   std::string(kNoPackagesFile)});
    return;
  }
  const std::optional<URL> url = URLForCandidatePath((*paths)[index], repositoryURL);
  SystemLog::write("[Crawler] Trying: {}", describe(url));
  CrawlerLogger::logInfo(fmt::format("Trying package index: {}", displayText(url)));
  freshSession()->send(uncachedRequest(url), [fetcher = *this, paths, index, repositoryURL,
                                              fallbackToInstaller4, completion,
                                              url](std::string body,
                                                   const std::optional<HTTPResponse>& response,
                                                   std::optional<Error> error) {
    if (fetcher.observer_) fetcher.observer_({url, response, body, error});
    Answer answer{std::move(body), response, std::move(error)};
    std::optional<PackageList> packages;
    if (isCandidate(answer, url)) {
      packages = readCandidate(std::move(answer), (*paths)[index], url, fetcher.observer_);
    }
    if (packages) {
      completion(std::move(packages), std::nullopt);
    } else {
      fetcher.tryCandidatePaths(paths, index + 1, repositoryURL, fallbackToInstaller4, completion);
    }
  });
}

RepositoryFetcher::CandidatePaths RepositoryFetcher::candidatePaths() {
  static const auto paths = std::make_shared<const std::vector<std::string>>(makeCandidatePaths());
  return paths;
}

std::optional<URL> RepositoryFetcher::URLForCandidatePath(std::string_view path,
                                                          const std::optional<URL>& repositoryURL) {
  return urlForCandidatePath(path, repositoryURL);
}

std::shared_ptr<HTTPClient> RepositoryFetcher::freshSession() const {
  return clientFactory_({.timeoutIntervalForRequest = std::chrono::seconds(30),
                         .timeoutIntervalForResource = std::chrono::seconds(60)});
}

std::optional<std::string> RepositoryFetcher::stringFromTextData(std::string bytes) {
  return textOrNothing([&] { return decodeIndexText(std::move(bytes)); });
}

std::optional<std::string> RepositoryFetcher::stringFromGzipData(std::string_view bytes) {
  return textOrNothing([&] { return textOfUnpacked(unpackGzip(bytes)); });
}

std::optional<std::string> RepositoryFetcher::stringFromBzip2Data(std::string_view bytes) {
  return textOrNothing([&] { return textOfUnpacked(unpackBzip2(bytes)); });
}

std::optional<std::string> RepositoryFetcher::stringFromXZData(std::string_view bytes) {
  return textOrNothing([&] { return textOfUnpacked(unpackXZ(bytes)); });
}

std::optional<std::string> RepositoryFetcher::stringFromData(std::string bytes,
                                                             std::string_view path) {
  return textOrNothing([&] { return decodeIndex(std::move(bytes), path); });
}

}  // namespace tolvane
