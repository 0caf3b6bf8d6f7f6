// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "base/SystemLog.h"
#include "ui/RepositoryTitles.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// The three workflows in the window: what starts them, what they report, and what becomes of their
// ends.
namespace tolvane {

namespace {

constexpr double kEndedProgressSeconds = 3;

void writeSystemLog(std::string_view line) {
  SystemLog::write("[UI] {}", line);
}

}  // namespace

void ViewController::makeWorkflows(const HTTPClientFactory& clientFactory) {
  fetcher_ = std::make_unique<RepositoryFetcher>(clientFactory);
  queueManager_ = std::make_unique<DownloadQueueManager>(mainQueue_, clientFactory);
  metadataArchiver_ = std::make_unique<RepositoryMetadataArchiver>(mainQueue_, clientFactory);
  centralArchiveClient_ = std::make_unique<CentralArchiveClient>(
      std::string(centralArchiveBaseURL()), centralArchiveAPISecret(), clientFactory);
  WorkflowObserver& observer = *this;
  fetch_ = std::make_unique<FetchWorkflow>(mainQueue_, *fetcher_, observer, writeSystemLog);
  download_ = std::make_unique<DownloadWorkflow>(*queueManager_, *metadataArchiver_, observer);
  const auto loadedRepository = [this] {
    return LoadedRepository{allPackages(), currentRepositoryURL_, selectedRepositoryKind()};
  };
  archive_ = std::make_unique<ArchiveWorkflow>(
      ArchiveWorkflow::Services{mainQueue_, *centralArchiveClient_, *queueManager_, *download_,
                                loadedRepository},
      observer);
}

void ViewController::showStatus(std::string_view text) {
  repositoryBar_->setStatus(text);
}

void ViewController::addConsoleLine(std::string_view text, LogType type) {
  appendConsoleMessage(text, CrawlerLogger::stringForLogType(static_cast<int>(type)));
}

void ViewController::showProgress(const Progress& progress) {
  switch (progress.state) {
    case Progress::State::hidden:
      return hideProgressIndicator();
    case Progress::State::indeterminate:
      return showIndeterminateProgress();
    case Progress::State::determinate:
      return showDeterminateProgressWithCompleted(progress.completed, progress.total);
    case Progress::State::ended:
      showCompletedProgressSuccess(true);
      return hideProgressIndicatorAfterDelay(kEndedProgressSeconds);
  }
}

void ViewController::activityChanged(Activity activity, bool isOn) {
  switch (activity) {
    case Activity::fetch:
      return enableControls(isOn ? Change::fetchBegan : Change::fetchEnded);
    case Activity::download:
      return enableControls(isOn ? Change::runBegan : Change::runEnded);
    case Activity::archiveDownload:
      return enableControls(isOn ? Change::archiveRunBegan : Change::archiveRunEnded);
  }
}

void ViewController::ask(const Question& question, Answered answered) {
  dialogs_.beginAlert(window(), {question.messageText, question.informativeText, question.answers},
                      std::move(answered));
}

RepositoryKind ViewController::selectedRepositoryKind() const {
  return kindOfTitle(repositoryBar_->selectedRepositoryType().value_or(""));
}

// Fetch.

void ViewController::fetchButtonClicked() {
  const std::string title = repositoryBar_->selectedRepositoryType().value_or("Unknown");
  const auto url = fetch_->enteredURL(toText(controls_.repoURLField->text()), title);
  if (url) fetchRepositoryURL(*url, true);
}

void ViewController::fetchRepositoryURL(const URL& url, bool allowHTTPFallback) {
  currentRepositoryURL_ = url;
  fetch_->fetchRepositoryURL(url, selectedRepositoryKind(), allowHTTPFallback,
                             [this](FetchEnd end) { fetchDidEnd(std::move(end)); });
}

void ViewController::askToRetryWithHTTPURL(const URL& httpURL, const Error& originalError) {
  fetch_->askToRetryWithHTTPURL(httpURL, originalError,
                                [this](FetchEnd end) { fetchDidEnd(std::move(end)); });
}

void ViewController::fetchDidEnd(FetchEnd end) {
  if (end.retryURL) {
    controls_.repoURLField->setText(toQString(end.retryURL->absoluteString()));
    fetchRepositoryURL(*end.retryURL, false);
  } else if (!end.failure.empty()) {
    clearRepositoryStateWithStatus(end.failure);
  } else {
    loadPackagesIntoUI(std::move(end.packages).value_or(PackageList()), end.url);
  }
}

void ViewController::loadPackagesIntoUI(PackageList packages,
                                        const std::optional<URL>& repositoryURL) {
  SystemLog::write("[UI] Loaded {} packages", packages.size());
  addConsoleLine(fmt::format("Loaded {} package(s) into table.", packages.size()),
                 LogType::success);
  currentRepositoryURL_ = repositoryURL;
  packagesPane_->setPackages(std::move(packages));
  enableControls(Change::repositoryChanged);
  showStatus(fmt::format("Found {} packages.", this->packages().size()));
  updateStatsLabel();
  detailsPane_->showNoPackage();
  hideProgressIndicator();
}

void ViewController::clearRepositoryStateWithStatus(std::string_view status) {
  showStatus(status);
  currentRepositoryURL_.reset();
  packagesPane_->setPackages({});
  enableControls(Change::repositoryChanged);
  packagesPane_->showNoStatistics();
  detailsPane_->showNoPackage();
  hideProgressIndicator();
}

// Download.

void ViewController::downloadSelectedButtonClicked() {
  if (!currentRepositoryURL_) return report("No repository URL available.", LogType::error);
  PackageList chosen;
  if (!selectedPackageKeys().empty()) {
    chosen = selectedPackages();
  } else if (const PackageEntry* package = packagesPane_->highlightedPackage()) {
    chosen.push_back(*package);
  }
  if (chosen.empty()) {
    return dialogs_.beginAlert(window(),
                               {"No package selected",
                                "Select a package row or tick the checkbox of the package(s) you'd "
                                "like to download.",
                                {"OK"}},
                               [](std::size_t) {});
  }
  addConsoleLine(fmt::format("Preparing to download {} selected package(s).", chosen.size()),
                 LogType::info);
  chooseFolderThenDownloadPackages(std::move(chosen));
}

void ViewController::chooseFolderThenDownloadPackages(PackageList packages) {
  const FolderPanel panel{
      "Download Here",
      fmt::format("Choose where {} selected .deb files should be saved.", packages.size()),
      std::exchange(offeredFolder_, "")};
  dialogs_.beginFolderPanel(
      window(), panel,
      lifetime_.guard([this, packages = std::move(packages)](std::optional<ChosenFolder> folder) {
        if (!folder) return report("Download cancelled.", LogType::warning);
        report(fmt::format("Starting {} downloads...", packages.size()), LogType::info);
        startDownload({packages, currentRepositoryURL_, folder->path}, folder->access);
      }));
}

void ViewController::downloadMissingButtonClicked() {
  if (allPackages().empty()) return report("No packages loaded.", LogType::error);
  if (!currentRepositoryURL_) return report("No repository URL available.", LogType::error);
  const FolderPanel panel{
      "Scan & Download Missing",
      "Choose the repository archive folder. Existing .deb files will be skipped.",
      std::exchange(offeredFolder_, "")};
  dialogs_.beginFolderPanel(window(), panel,
                            lifetime_.guard([this](std::optional<ChosenFolder> folder) {
                              if (!folder)
                                return report("Download missing cancelled.", LogType::warning);
                              downloadMissingInto(std::move(*folder));
                            }));
}

void ViewController::downloadMissingInto(ChosenFolder folder) {
  MissingScan scan = scanForMissing(allPackages(), folder.path);
  report(scan.text(), scan.missing.empty() ? LogType::success : LogType::info);
  if (scan.missing.empty()) {
    folder.access.reset();
    hideProgressIndicator();
    return addConsoleLine("No missing packages found. Local folder is already complete.",
                          LogType::success);
  }
  startDownload({std::move(scan.missing), currentRepositoryURL_, folder.path, scan.alreadyPresent},
                std::move(folder.access));
}

void ViewController::startDownload(const DownloadRun& run, std::shared_ptr<void> access) {
  if (repositoryBar_->archivesMetadata()) download_->saveMetadata(run.repositoryURL, run.folder);
  download_->start(run, [this, access = std::move(access)](const DownloadEnd& end) mutable {
    access.reset();
    report(end.text, end.type());
    if (end.counters.hasErrors()) showDownloadErrorAlertWithMessage(end.details);
  });
}

void ViewController::showDownloadErrorAlertWithMessage(const std::optional<std::string>& message) {
  dialogs_.beginAlert(
      window(),
      {"Download completed with errors", message.value_or("One or more downloads failed."), {"OK"}},
      [](std::size_t) {});
}

void ViewController::cancelDownloadsButtonClicked() {
  enableControls(Change::cancelled);
  download_->cancel();
}

std::string ViewController::filesystemSafeString(std::string_view text) {
  std::string safe(text);
  for (char& character : safe) {
    const bool isUnsafe =
        std::string_view("/:?&=;%+\\<>|\"*").find(character) != std::string_view::npos;
    if (isUnsafe) character = '_';
  }
  return safe.empty() ? "UnknownRepo" : safe;
}

}  // namespace tolvane
