// SPDX-License-Identifier: MIT
#include "workflow/FetchWorkflow.h"

#include <fmt/format.h>
#include <utility>

#include "base/Text.h"

namespace tolvane {

namespace {

using PackageList = std::vector<PackageEntry>;

constexpr const char* kNotFetched = "Could not fetch repository.";

std::string_view statusOfFetch(RepositoryKind kind) {
  if (kind == RepositoryKind::installer4) return "Fetching Installer 4 repository...";
  if (kind == RepositoryKind::automatic) return "Auto-detecting repository type...";
  return "Fetching Packages file...";
}

// What was entered, without a password. One that lacks its scheme may hold one all the same.
std::string shownEntry(const std::string& text) {
  if (text.find("//") != std::string::npos) return withoutPasswords(text);
  return withoutPasswords("//" + text).substr(2);
}

}  // namespace

std::optional<URL> FetchWorkflow::enteredURL(std::string_view entered,
                                             std::string_view typeTitle) const {
  const std::string text(trimWhitespaceAndNewlines(entered));
  log_("Repository Fetch Started");
  observer_.addConsoleLine("Repository Fetch Started", LogType::info);
  log_("URL entered: " + shownEntry(text));
  observer_.addConsoleLine("Fetching " + shownEntry(text), LogType::info);
  log_(fmt::format("Repository type selected: {}", typeTitle));
  observer_.addConsoleLine(fmt::format("Repository type: {}", typeTitle), LogType::info);
  if (text.empty()) {
    observer_.report("Please enter a repository URL.", LogType::error);
    return std::nullopt;
  }
  std::optional<URL> url = URL::parse(text);
  if (url && !url->scheme().empty() && !url->host().empty()) return url;
  observer_.report("Invalid repository URL.", LogType::error);
  return std::nullopt;
}

void FetchWorkflow::fetchRepositoryURL(const URL& url, RepositoryKind kind, bool allowHTTPFallback,
                                       const Completion& completion) {
  observer_.activityChanged(Activity::fetch, true);
  observer_.showStatus(statusOfFetch(kind));
  observer_.showProgress({Progress::State::indeterminate});
  observer_.addConsoleLine(statusOfFetch(kind), LogType::info);
  auto completed = lifetime_.guardOn(mainQueue_, [=, this](std::optional<PackageList> packages,
                                                           const std::optional<Error>& error) {
    fetchDidComplete({url, std::move(packages), std::nullopt, ""}, error, allowHTTPFallback,
                     completion);
  });
  fetcher_.fetchPackages(kind, url,
                         [completed = std::move(completed), log = log_](
                             std::optional<PackageList> packages, std::optional<Error> error) {
                           log(fmt::format("Fetch completed. packages={} error={}",
                                           packages ? packages->size() : 0, describe(error)));
                           completed(std::move(packages), std::move(error));
                         });
}

void FetchWorkflow::fetchDidComplete(FetchEnd end, const std::optional<Error>& error,
                                     bool allowHTTPFallback, const Completion& completion) {
  observer_.activityChanged(Activity::fetch, false);
  if (!error) {
    const std::size_t count = end.packages ? end.packages->size() : 0;
    observer_.addConsoleLine(fmt::format("Fetched {} package(s).", count), LogType::success);
    return completion(std::move(end));
  }
  log_("Error: " + describe(error));
  observer_.addConsoleLine(descriptionOr(error, "Repository fetch failed."), LogType::error);
  const bool mayFallBack = allowHTTPFallback && equalsIgnoringASCIICase(end.url.scheme(), "https");
  const auto httpURL = mayFallBack ? HTTPURLFromHTTPSURL(end.url) : std::nullopt;
  observer_.showProgress({Progress::State::hidden});
  if (httpURL) return askToRetryWithHTTPURL(*httpURL, *error, completion);
  completion({std::move(end.url), std::nullopt, std::nullopt, descriptionOr(error, kNotFetched)});
}

std::optional<URL> FetchWorkflow::HTTPURLFromHTTPSURL(const URL& url) {
  return URL::parse("http" + url.absoluteString().substr(url.scheme().size()));
}

void FetchWorkflow::askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError,
                                          const Completion& completion) {
  const std::string address = displayText(httpURL);
  observer_.addConsoleLine("HTTPS failed. HTTP fallback available: " + address, LogType::warning);
  observer_.ask(
      {"HTTPS fetch failed",
       "This repository could not be loaded over HTTPS. Some older Cydia repositories only support "
       "plain HTTP.\n\nWould you like to try this URL instead?\n" +
           address,
       {"Try HTTP", "Cancel"}},
      lifetime_.guard([=, this](std::size_t answer) {
        FetchEnd end{httpURL, std::nullopt, std::nullopt, ""};
        if (answer == 0) {
          observer_.addConsoleLine("User accepted HTTP fallback.", LogType::warning);
          end.retryURL = httpURL;
        } else {
          observer_.addConsoleLine("User cancelled HTTP fallback.", LogType::warning);
          end.failure = descriptionOr(originalError, kNotFetched);
        }
        completion(std::move(end));
      }));
}

}  // namespace tolvane
