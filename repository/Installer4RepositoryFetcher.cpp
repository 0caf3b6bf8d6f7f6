// SPDX-License-Identifier: MIT
#include "repository/Installer4RepositoryFetcher.h"

#include <chrono>
#include <fmt/format.h>
#include <new>
#include <utility>

#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "repository/InstallerItem.h"

namespace tolvane {

namespace {

using PackageList = Installer4RepositoryFetcher::PackageList;

void addCandidatePathsIn(std::string_view folder, std::vector<std::string>& paths) {
  paths.push_back(fmt::format("{}index.plist", folder));
  paths.push_back(fmt::format("{}Info.plist", folder));
  for (int major = 2; major <= 15; ++major) {
    for (int minor = 0; minor <= 9; ++minor) {
      paths.push_back(fmt::format("{}index-{}.{}.plist", folder, major, minor));
    }
  }
}

PackageList packageEntries(const PropertyList::List& items) {
  PackageList list;
  list.reserve(items.size());
  for (const PropertyList& item : items) {
    std::optional<PackageEntry::Dictionary> fields =
        fieldsOfInstallerItem(item, "identifier",
                              {{"version", "Version"},
                               {"description", "Description"},
                               {"category", "Section"},
                               {"url", "Filename"},
                               // A record has no field for an icon; this one takes it, on purpose.
                               {"icon", "Depiction"}});
    if (!fields) continue;
    fields->emplace("Architecture", "installer4");
    PackageEntry& entry = list.emplace_back(*fields);
    entry.setInstaller4Package(true);
    entry.setPackageInfoURL(entry.filename());
  }
  return list;
}

using Reading = Installer4RepositoryFetcher::Reading;

// What an answer has. Neither packages nor a problem for a candidate that is passed over.
Reading readAnswer(std::string_view body, int status, const std::optional<Error>& error,
                   std::string_view url) {
  if (error) {
    return {{},
            fmt::format("Installer 4 index failed: {}", descriptionOr(error, "Unknown error")),
            isOutOfMemory(error)};
  }
  if (!isSuccess(status) || body.empty()) return {};
  return Installer4RepositoryFetcher::readIndex(body, url);
}

void reportSuccess(const PackageList& list, std::string_view url) {
  SystemLog::write("[Installer4] Using index: {}", url);
  CrawlerLogger::logSuccess(fmt::format("Using Installer 4 index: {}", url));
  SystemLog::write("[Installer4] Parsed {} packages", list.size());
  CrawlerLogger::logSuccess(
      fmt::format("Installer 4 repository parsed: {} package(s)", list.size()));
}

}  // namespace

Installer4RepositoryFetcher::Installer4RepositoryFetcher(const HTTPClientFactory& clientFactory,
                                                         IndexObserver observer)
    : observer_(std::move(observer)),
      session_(clientFactory({.timeoutIntervalForRequest = std::chrono::seconds(30),
                              .timeoutIntervalForResource = std::chrono::seconds(60)})) {}

void Installer4RepositoryFetcher::fetchPackagesFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  CrawlerLogger::logInfo(
      fmt::format("Fetching Installer 4 repository: {}", displayText(repositoryURL)));
  tryIndexCandidatePaths(installer4IndexCandidatePaths(), 0, repositoryURL, std::move(completion));
}

Installer4RepositoryFetcher::CandidatePaths
Installer4RepositoryFetcher::installer4IndexCandidatePaths() {
  static const CandidatePaths paths = [] {
    std::vector<std::string> list;
    addCandidatePathsIn("info/", list);
    addCandidatePathsIn("", list);
    return std::make_shared<const std::vector<std::string>>(std::move(list));
  }();
  return paths;
}

void Installer4RepositoryFetcher::tryIndexCandidatePaths(CandidatePaths paths, std::size_t index,
                                                         const std::optional<URL>& repositoryURL,
                                                         Completion completion) const {
  if (index >= paths->size()) {
    Error error{std::string(kInstaller4FetcherErrorDomain), 404,
                "No Installer 4 index plist found."};
    CrawlerLogger::logError(error.description);
    if (completion) completion(std::nullopt, std::move(error));
    return;
  }
  std::optional<URL> url = URLForCandidatePath((*paths)[index], repositoryURL);
  SystemLog::write("[Installer4] Trying index: {}", describe(url));
  CrawlerLogger::logInfo(fmt::format("Trying Installer 4 index: {}", displayText(url)));
  session_->send(uncachedRequest(url), [self = *this, paths = std::move(paths), index,
                                        repositoryURL, url, completion = std::move(completion)](
                                           const std::string& body,
                                           const std::optional<HTTPResponse>& response,
                                           const std::optional<Error>& error) {
    const IndexAnswer answer{url, response, body, error};
    if (self.observer_) self.observer_(answer);
    const int status = statusOf(response);
    SystemLog::write("[Installer4] Response for {} -> status={} error={} bytes={}", describe(url),
                     status, describe(error), body.size());
    Reading reading = readAnswer(body, status, error, displayText(url));
    if (reading.outOfMemory) reportNotEnoughMemory(answer, self.observer_);
    if (!reading.problem.empty()) CrawlerLogger::logWarning(reading.problem);
    if (reading.packages.empty()) {
      return self.tryIndexCandidatePaths(paths, index + 1, repositoryURL, completion);
    }
    reportSuccess(reading.packages, displayText(url));
    if (completion) completion(std::move(reading.packages), std::nullopt);
  });
}

Reading Installer4RepositoryFetcher::readIndex(std::string_view bytes, std::string_view source) {
  const PropertyListResult result = readPropertyList(bytes);
  const PropertyList::Dictionary* root = result.value ? result.value->dictionary() : nullptr;
  if (!root) {
    return {
        {}, fmt::format("Installer 4 index could not be parsed: {}", source), result.outOfMemory};
  }
  const PropertyList::List* items = itemsOfInstallerList(*root);
  if (!items) return {{}, fmt::format("Installer 4 index contains no packages array: {}", source)};
  Reading reading;
  try {
    reading.packages = packageEntries(*items);
  } catch (const std::bad_alloc&) {
    reading.outOfMemory = true;
  }
  if (reading.packages.empty()) {
    reading.problem = fmt::format("Installer 4 index contained zero usable packages: {}", source);
  }
  return reading;
}

PackageList Installer4RepositoryFetcher::packageEntriesFromInstaller4PackagesArray(
    const PropertyList::List& items, const std::optional<URL>&) {
  try {
    return packageEntries(items);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

std::string Installer4RepositoryFetcher::stringValueFromObject(const PropertyList* value) {
  return textFormOrNothing(value);
}

std::optional<URL> Installer4RepositoryFetcher::URLForCandidatePath(
    std::string_view path, const std::optional<URL>& repositoryURL) {
  return urlForCandidatePath(path, repositoryURL);
}

}  // namespace tolvane
