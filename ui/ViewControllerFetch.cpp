// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "base/SystemLog.h"
#include "base/Text.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// Loading a repository into the window, over plain HTTP where HTTPS fails.
namespace tolvane {

namespace {

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

void ViewController::fetchButtonClicked() {
  const std::string entered = toText(controls_.repoURLField->text());
  const std::string text(trimWhitespaceAndNewlines(entered));
  const std::string type = selectedRepositoryType().value_or("Unknown");
  SystemLog::write("[UI] Repository Fetch Started");
  appendConsoleMessage("Repository Fetch Started", "info");
  SystemLog::write("[UI] URL entered: {}", shownEntry(text));
  appendConsoleMessage("Fetching " + shownEntry(text), "info");
  SystemLog::write("[UI] Repository type selected: {}", type);
  appendConsoleMessage("Repository type: " + type, "info");
  if (text.empty()) return report("Please enter a repository URL.", "error");
  const auto url = URL::parse(text);
  if (!url || url->scheme().empty() || url->host().empty()) {
    return report("Invalid repository URL.", "error");
  }
  fetchRepositoryURL(*url, true);
}

void ViewController::fetchRepositoryURL(const URL& url, bool allowHTTPFallback) {
  currentRepositoryURL_ = url;
  controls_.fetchButton->setEnabled(false);
  const RepositoryKind kind = selectedRepositoryKind();
  const std::string_view status = statusOfFetch(kind);
  setStatus(status);
  showIndeterminateProgress();
  appendConsoleMessage(status, "info");
  auto completed = lifetime_.guardOn(
      mainQueue_, [this, url, allowHTTPFallback](std::optional<PackageList> packages,
                                                 const std::optional<Error>& error) {
        fetchDidComplete(url, allowHTTPFallback, std::move(packages), error);
      });
  fetcher_->fetchPackages(kind, url,
                          [completed = std::move(completed)](std::optional<PackageList> packages,
                                                             std::optional<Error> error) {
                            SystemLog::write("[UI] Fetch completed. packages={} error={}",
                                             packages ? packages->size() : 0, describe(error));
                            completed(std::move(packages), std::move(error));
                          });
}

void ViewController::fetchDidComplete(const URL& url, bool allowHTTPFallback,
                                      std::optional<PackageList> packages,
                                      const std::optional<Error>& error) {
  controls_.fetchButton->setEnabled(true);
  if (!error) {
    PackageList list = std::move(packages).value_or(PackageList());
    appendConsoleMessage(fmt::format("Fetched {} package(s).", list.size()), "success");
    return loadPackagesIntoUI(std::move(list), url);
  }
  SystemLog::write("[UI] Error: {}", describe(error));
  appendConsoleMessage(descriptionOr(error, "Repository fetch failed."), "error");
  const bool mayFallBack = allowHTTPFallback && equalsIgnoringASCIICase(url.scheme(), "https");
  const auto httpURL = mayFallBack ? HTTPURLFromHTTPSURL(url) : std::nullopt;
  hideProgressIndicator();
  if (httpURL) {
    askToRetryWithHTTPURL(*httpURL, *error);
  } else {
    clearRepositoryStateWithStatus(descriptionOr(error, kNotFetched));
  }
}

void ViewController::loadPackagesIntoUI(PackageList packages,
                                        const std::optional<URL>& repositoryURL) {
  SystemLog::write("[UI] Loaded {} packages", packages.size());
  appendConsoleMessage(fmt::format("Loaded {} package(s) into table.", packages.size()), "success");
  currentRepositoryURL_ = repositoryURL;
  allPackages_ = std::move(packages);
  packages_ = allPackages_;
  controls_.downloadSelectedButton->setEnabled(!packages_.empty());
  controls_.selectAllButton->setEnabled(!packages_.empty());
  controls_.searchField->setEnabled(!packages_.empty());
  controls_.downloadMissingButton->setEnabled(!allPackages_.empty());
  controls_.checkArchiveButton->setEnabled(!allPackages_.empty());
  controls_.selectAllButton->setChecked(false);
  controls_.searchField->empty();
  selectedPackageKeys_.clear();
  setStatus(fmt::format("Found {} packages.", packages_.size()));
  controls_.tableView->reload();
  updateStatsLabel();
  showNoDetails();
  hideProgressIndicator();
}

void ViewController::clearRepositoryStateWithStatus(std::string_view status) {
  setStatus(status);
  packages_.clear();
  allPackages_.clear();
  controls_.downloadSelectedButton->setEnabled(false);
  controls_.downloadMissingButton->setEnabled(false);
  controls_.checkArchiveButton->setEnabled(false);
  controls_.selectAllButton->setEnabled(false);
  controls_.selectAllButton->setChecked(false);
  selectedPackageKeys_.clear();
  currentRepositoryURL_.reset();
  controls_.tableView->reload();
  controls_.statsLabel->setText(QStringLiteral("No repository loaded."));
  controls_.searchField->empty();
  controls_.searchField->setEnabled(false);
  showNoDetails();
  hideProgressIndicator();
}

std::optional<URL> ViewController::HTTPURLFromHTTPSURL(const URL& url) {
  return URL::parse("http" + url.absoluteString().substr(url.scheme().size()));
}

void ViewController::askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError) {
  const std::string address = displayText(httpURL);
  appendConsoleMessage("HTTPS failed. HTTP fallback available: " + address, "warning");
  dialogs_.beginAlert(
      window(),
      {"HTTPS fetch failed",
       "This repository could not be loaded over HTTPS. Some older Cydia repositories only support "
       "plain HTTP.\n\nWould you like to try this URL instead?\n" +
           address,
       {"Try HTTP", "Cancel"}},
      lifetime_.guard([this, httpURL, originalError](std::size_t button) {
        if (button != 0) {
          appendConsoleMessage("User cancelled HTTP fallback.", "warning");
          return clearRepositoryStateWithStatus(descriptionOr(originalError, kNotFetched));
        }
        appendConsoleMessage("User accepted HTTP fallback.", "warning");
        controls_.repoURLField->setText(toQString(httpURL.absoluteString()));
        fetchRepositoryURL(httpURL, false);
      }));
}

}  // namespace tolvane
