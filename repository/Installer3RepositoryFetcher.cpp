// SPDX-License-Identifier: MIT
#include "repository/Installer3RepositoryFetcher.h"

#include <cerrno>
#include <chrono>
#include <fmt/format.h>
#include <new>
#include <utility>

#include "async/Dispatch.h"
#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "repository/InstallerItem.h"

namespace tolvane {

namespace {

constexpr long kRetries = 2;
constexpr auto kRetryDelay = std::chrono::milliseconds(1500);

using Completion = Installer3RepositoryFetcher::Completion;
using PackageList = Installer3RepositoryFetcher::PackageList;

Error installerError(int code, std::string description) {
  return {std::string(kInstaller3ErrorDomain), code, std::move(description)};
}

using Reading = Installer3RepositoryFetcher::Reading;

Reading failure(std::optional<Error> error, std::string_view otherwise) {
  CrawlerLogger::logError(descriptionOr(error, otherwise));
  return {std::nullopt, std::move(error)};
}

void fail(const Completion& completion, std::optional<Error> error, std::string_view otherwise) {
  Reading reading = failure(std::move(error), otherwise);
  if (completion) completion(std::nullopt, std::move(reading.error));
}

Reading outOfMemory(std::optional<Error> error) {
  Reading reading = failure(std::move(error), "");
  reading.outOfMemory = true;
  return reading;
}

bool isWorthARetry(const Error& error) {
  return error.code == kURLErrorNetworkConnectionLost || error.code == kURLErrorTimedOut;
}

// No value for an item that names no package.
std::optional<PackageEntry> packageEntry(const PropertyList& item) {
  std::optional<PackageEntry::Dictionary> fields =
      fieldsOfInstallerItem(item, "bundleIdentifier",
                            {{"version", "Version"},
                             {"description", "Description"},
                             {"category", "Section"},
                             {"location", "Filename"},
                             {"size", "Size"},
                             // The author on purpose, not the maintainer.
                             {"maintainer", "Author"}});
  if (!fields) return std::nullopt;
  fields->emplace("Architecture", "installer3");
  PackageEntry entry(*fields);
  entry.setInstaller3Package(true);
  entry.setDownloadURL(entry.filename());
  return entry;
}

// No value where there is no memory for the records.
std::optional<PackageList> packagesIn(const PropertyList::List& items) {
  try {
    PackageList list;
    for (const PropertyList& item : items) {
      if (std::optional<PackageEntry> entry = packageEntry(item)) list.push_back(std::move(*entry));
    }
    return list;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

}  // namespace

Installer3RepositoryFetcher::Installer3RepositoryFetcher(const HTTPClientFactory& clientFactory,
                                                         IndexObserver observer)
    : observer_(std::move(observer)),
      session_(clientFactory({.timeoutIntervalForRequest = std::chrono::seconds(60),
                              .timeoutIntervalForResource = std::chrono::seconds(120)})) {}

void Installer3RepositoryFetcher::fetchPackagesFromRepositoryURL(
    const std::optional<URL>& repositoryURL, Completion completion) const {
  fetchPackagesFromRepositoryURL(repositoryURL, kRetries, std::move(completion));
}

void Installer3RepositoryFetcher::fetchPackagesFromRepositoryURL(
    const std::optional<URL>& repositoryURL, long retryCount, Completion completion) const {
  SystemLog::write("[Installer3] Fetching repository: {}", describe(repositoryURL));
  CrawlerLogger::logInfo(
      fmt::format("Fetching Installer 3 repository XML: {}", displayText(repositoryURL)));
  session_->send(
      uncachedRequest(repositoryURL),
      [self = *this, repositoryURL, retryCount, completion = std::move(completion)](
          const std::string& body, const std::optional<HTTPResponse>& response,
          std::optional<Error> error) {
        const IndexAnswer answer{repositoryURL, response, body, error};
        if (self.observer_) self.observer_(answer);
        constexpr const char* kLoadFailure = "Could not load Installer 3 repository.";
        if (error && isWorthARetry(*error) && retryCount > 0) {
          const std::string reason = descriptionOr(error, "Unknown error");
          SystemLog::write("[Installer3] Fetch failed ({}), retrying... attempts left={}", reason,
                           retryCount);
          CrawlerLogger::logWarning(fmt::format(
              "Installer 3 fetch failed ({}). Retrying... attempts left: {}", reason, retryCount));
          dispatchAfter(kRetryDelay, [self, repositoryURL, retryCount, completion] {
            self.fetchPackagesFromRepositoryURL(repositoryURL, retryCount - 1, completion);
          });
          return;
        }
        if (isOutOfMemory(error)) reportNotEnoughMemory(answer, self.observer_);
        if (error) return fail(completion, std::move(error), kLoadFailure);
        const int status = statusOf(response);
        if (!isSuccess(status) || body.empty()) {
          return fail(completion, installerError(status, kLoadFailure), "");
        }
        Reading reading = readList(body);
        if (reading.outOfMemory) reportNotEnoughMemory(answer, self.observer_);
        if (completion) completion(std::move(reading.packages), std::move(reading.error));
      });
}

Reading Installer3RepositoryFetcher::readList(std::string_view bytes) {
  PropertyListResult result = readPropertyList(bytes);
  if (result.outOfMemory) return outOfMemory(std::move(result.error));
  const PropertyList::Dictionary* root = result.value ? result.value->dictionary() : nullptr;
  if (!root) {
    return failure(std::move(result.error),
                   "Installer 3 repository could not be parsed as a plist.");
  }
  const PropertyList::List* items = itemsOfInstallerList(*root);
  if (!items) {
    return failure(
        installerError(kNoPackagesArrayError, "Installer 3 repository contains no packages array."),
        "");
  }
  std::optional<PackageList> list = packagesIn(*items);
  if (!list) return outOfMemory(posixError(ENOMEM));
  SystemLog::write("[Installer3] Parsed {} packages", list->size());
  CrawlerLogger::logSuccess(
      fmt::format("Installer 3 repository parsed: {} package(s)", list->size()));
  return {std::move(list), std::nullopt};
}

std::string Installer3RepositoryFetcher::stringValue(const PropertyList* value) {
  return textFormOrNothing(value);
}

}  // namespace tolvane
