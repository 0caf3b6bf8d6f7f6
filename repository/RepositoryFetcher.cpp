// SPDX-License-Identifier: MIT
#include "repository/RepositoryFetcher.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fmt/format.h>
#include <new>
#include <utility>

#include "model/CrawlerLogger.h"
#include "platform/SystemLog.h"
#include "platform/Text.h"
#include "repository/Installer3RepositoryFetcher.h"
#include "repository/Installer4RepositoryFetcher.h"
#include "repository/PayloadDecoder.h"
#include "repository/RepoParser.h"

namespace tolvane {

namespace {

constexpr std::string_view kNoPackagesFile = "No Cydia/APT Packages file found.";
constexpr std::string_view kNoSupportedFormat = "No supported repository format found.";
constexpr std::string_view kUTF8Mark = "\xEF\xBB\xBF";

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

// What a choice means.
struct Kind {
  std::string_view choice;
  void (RepositoryFetcher::*fetch)(const std::optional<URL>&, RepositoryFetcher::Completion) const;
  std::string_view archiveType;
};

constexpr std::array<Kind, 4> kKinds{{
    {kAPTChoice, &RepositoryFetcher::fetchPackagesFromRepositoryURL, "APT"},
    {kAutoDetectChoice, &RepositoryFetcher::fetchPackagesWithAutoDetectionFromRepositoryURL, "APT"},
    {kInstaller4Choice, &RepositoryFetcher::fetchInstaller4PackagesFromRepositoryURL, "Installer4"},
    {kInstaller3Choice, &RepositoryFetcher::fetchInstaller3PackagesFromRepositoryURL, "Installer3"},
}};

const Kind& kindOfChoice(std::string_view choice) {
  const auto* const found = std::find_if(
      kKinds.begin(), kKinds.end(), [choice](const Kind& kind) { return kind.choice == choice; });
  return found == kKinds.end() ? kKinds.front() : *found;
}

bool exceedsMaximumLength(const std::optional<Error>& error) {
  return error && error->domain == kURLErrorDomain &&
         error->code == kURLErrorDataLengthExceedsMaximum;
}

std::optional<std::string> textOfUnpacked(std::optional<std::string> bytes) {
  if (!bytes) return std::nullopt;
  return RepositoryFetcher::stringFromTextData(std::move(*bytes));
}

// One candidate's answer.
struct Answer {
  std::string body;
  int status;
  std::optional<Error> error;
};

// Reports the answer; true when there is something to decode, if only in vain.
bool isCandidate(const Answer& answer, const std::optional<URL>& url) {
  SystemLog::write("[Crawler] Response for {} -> status={} error={} bytes={}", describe(url),
                   answer.status, describe(answer.error), answer.body.size());
  if (!isSuccess(answer.status)) return false;
  SystemLog::write("[Crawler] Candidate exists: {}", describe(url));
  CrawlerLogger::logSuccess(fmt::format("Package index found: {}", absoluteText(url)));
  if (exceedsMaximumLength(answer.error)) return true;
  return !answer.error && !answer.body.empty();
}

// Decodes and parses, and reports both; no value when that gives no package.
std::optional<RepositoryFetcher::PackageList> readCandidate(Answer answer, std::string_view path,
                                                            const std::string& url) {
  std::optional<std::string> text;
  if (!answer.error) text = RepositoryFetcher::stringFromData(std::move(answer.body), path);
  if (!text) {
    SystemLog::write("[Crawler] Could not decode candidate, trying next path: {}", url);
    CrawlerLogger::logWarning(
        fmt::format("Could not decode package index, trying next path: {}", url));
    return std::nullopt;
  }
  const std::size_t length = utf16Length(*text);
  SystemLog::write("[Crawler] Decoded Packages file ({} chars)", length);
  CrawlerLogger::logSuccess(fmt::format("Decoded Packages file ({} chars)", length));
  RepositoryFetcher::PackageList packages = RepoParser::parsePackagesText(std::move(*text));
  SystemLog::write("[Crawler] Parsed {} packages", packages.size());
  CrawlerLogger::logSuccess(fmt::format("Parsed {} package(s)", packages.size()));
  if (packages.empty()) {
    SystemLog::write("[Crawler] Candidate decoded but contained no packages, trying next path: {}",
                     url);
    CrawlerLogger::logWarning(
        fmt::format("Package index contained no packages, trying next candidate: {}", url));
    return std::nullopt;
  }
  SystemLog::write("[Crawler] Using package index: {}", url);
  CrawlerLogger::logSuccess(fmt::format("Using package index: {}", url));
  return packages;
}

}  // namespace

RepositoryFetcher::RepositoryFetcher(URLSessionFactory sessionFactory, IndexObserver observer)
    : sessionFactory_(std::move(sessionFactory)), observer_(std::move(observer)) {}

void RepositoryFetcher::fetchPackagesOfChosenKind(std::string_view choice,
                                                  const std::optional<URL>& repositoryURL,
                                                  Completion completion) const {
  (this->*kindOfChoice(choice).fetch)(repositoryURL, std::move(completion));
}

std::string_view RepositoryFetcher::archiveTypeOfChoice(std::string_view choice) {
  return kindOfChoice(choice).archiveType;
}

void RepositoryFetcher::fetchPackagesFromRepositoryURL(const std::optional<URL>& repositoryURL,
                                                       Completion completion) const {
  SystemLog::write("[Crawler] fetchPackagesFromRepositoryURL called with: {}",
                   describe(repositoryURL));
  CrawlerLogger::logInfo(fmt::format("Fetching repository: {}", absoluteText(repositoryURL)));
  tryCandidatePaths(candidatePaths(), 0, repositoryURL, false, std::move(completion));
}

void RepositoryFetcher::fetchPackagesWithAutoDetectionFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  SystemLog::write("[Crawler] Auto-detect fetch called with: {}", describe(repositoryURL));
  CrawlerLogger::logInfo(
      fmt::format("Auto-detecting repository type: {}", absoluteText(repositoryURL)));
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
      fmt::format("Fetching Installer 3 repository: {}", absoluteText(repositoryURL)));
  Installer3RepositoryFetcher(sessionFactory_, observer_)
      .fetchPackagesFromRepositoryURL(repositoryURL, std::move(completion));
}

void RepositoryFetcher::tryInstaller4RepositoryURL(const std::optional<URL>& repositoryURL,
                                                   Completion completion) const {
  SystemLog::write("[Crawler] Falling back to Installer 4 detection...");
  CrawlerLogger::logWarning("Falling back to Installer 4 detection...");
  Installer4RepositoryFetcher(sessionFactory_, observer_)
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
  CrawlerLogger::logInfo(fmt::format("Trying package index: {}", absoluteText(url)));
  freshSession()->dataTask(uncachedRequest(url), [fetcher = *this, paths, index, repositoryURL,
                                                  fallbackToInstaller4, completion,
                                                  url](std::string body,
                                                       const std::optional<URLResponse>& response,
                                                       std::optional<Error> error) {
    if (fetcher.observer_) fetcher.observer_({url, response, body, error});
    Answer answer{std::move(body), statusOf(response), std::move(error)};
    std::optional<PackageList> packages;
    if (isCandidate(answer, url)) {
      packages = readCandidate(std::move(answer), (*paths)[index], absoluteText(url));
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

std::shared_ptr<URLSession> RepositoryFetcher::freshSession() const {
  return sessionFactory_({.timeoutIntervalForRequest = std::chrono::seconds(30),
                          .timeoutIntervalForResource = std::chrono::seconds(60)});
}

std::optional<std::string> RepositoryFetcher::stringFromTextData(std::string bytes) {
  if (!isValidUTF8(bytes)) {
    try {
      return textFromLatin1(bytes);
    } catch (const std::bad_alloc&) {
      return std::nullopt;
    }
  }
  if (bytes.starts_with(kUTF8Mark)) bytes.erase(0, kUTF8Mark.size());
  return bytes;
}

std::optional<std::string> RepositoryFetcher::stringFromGzipData(std::string_view bytes) {
  return textOfUnpacked(unpackGzip(bytes));
}

std::optional<std::string> RepositoryFetcher::stringFromBzip2Data(std::string_view bytes) {
  return textOfUnpacked(unpackBzip2(bytes));
}

std::optional<std::string> RepositoryFetcher::stringFromXZData(std::string_view bytes) {
  return textOfUnpacked(unpackXZ(bytes));
}

std::optional<std::string> RepositoryFetcher::stringFromData(std::string bytes,
                                                             std::string_view path) {
  if (path.ends_with(".gz")) return stringFromGzipData(bytes);
  if (path.ends_with(".bz2")) return stringFromBzip2Data(bytes);
  if (path.ends_with(".xz")) return stringFromXZData(bytes);
  return stringFromTextData(std::move(bytes));
}

}  // namespace tolvane
