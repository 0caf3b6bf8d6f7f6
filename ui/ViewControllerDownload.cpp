// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "base/SystemLog.h"
#include "ui/ViewController.h"

// What all workflows that download have in common, from the first disabled button to the last
// enabled one.
namespace tolvane {

namespace {

constexpr double kCompletedProgressSeconds = 3;

std::string alertText(const DownloadTexts& texts, const DownloadCounters& counters) {
  std::string text =
      fmt::format("Downloaded: {}\nVerified: {}\nFailed: {}\nValidation failed: {}\nSkipped: {}",
                  counters.downloaded, counters.verified, counters.failed,
                  counters.validationFailed, counters.skipped);
  if (texts.alreadyPresent) text += fmt::format("\nAlready present: {}", *texts.alreadyPresent);
  return text;
}

std::string finishedText(const DownloadTexts& texts, const DownloadCounters& counters) {
  std::string text = texts.finished + " " + summaryText(counters);
  if (texts.alreadyPresent) text += fmt::format("  Already present: {}", *texts.alreadyPresent);
  return text;
}

}  // namespace

void ViewController::setDownloading(bool downloading) {
  const MainWindowControls& c = controls_;
  c.fetchButton->setEnabled(!downloading);
  c.downloadSelectedButton->setEnabled(!downloading && !packages_.empty());
  c.downloadMissingButton->setEnabled(!downloading && !allPackages_.empty());
  c.cancelDownloadsButton->setEnabled(downloading);
}

void ViewController::runQueue(const PackageList& packages, const std::string& folder,
                              DownloadQueueManager::RunProgress showProgress,
                              DownloadQueueManager::RunCompletion finish) {
  showDeterminateProgressWithCompleted(0, packages.size());
  queueManager_->startRun(
      packages, currentRepositoryURL_, folder,
      lifetime_.guard([this, showProgress = std::move(showProgress)](
                          const DownloadCounters& counters, std::uint64_t total) {
        showDeterminateProgressWithCompleted(counters.completed(), total);
        showProgress(counters, total);
      }),
      lifetime_.guard(std::move(finish)));
}

void ViewController::startDownloadRun(const PackageList& packages, ChosenFolder folder,
                                      const DownloadTexts& texts) {
  if (controls_.archiveMetadataButton->isChecked()) saveMetadata(folder.path);
  const std::string path = folder.path;
  runQueue(
      packages, path,
      [this, texts](const DownloadCounters& counters, std::uint64_t total) {
        setStatus(texts.progress + " " + progressText(counters, total));
      },
      [this, texts, access = std::move(folder.access)](const DownloadCounters& counters) mutable {
        access.reset();
        finishDownloadRun(texts, counters);
      });
}

void ViewController::finishDownloadRun(const DownloadTexts& texts,
                                       const DownloadCounters& counters) {
  showCompletedRun(!counters.hasErrors());
  setDownloading(false);
  report(finishedText(texts, counters), counters.hasErrors() ? "error" : "success");
  if (counters.hasErrors()) showDownloadErrorAlertWithMessage(alertText(texts, counters));
}

void ViewController::showCompletedRun(bool success) {
  showCompletedProgressSuccess(success);
  hideProgressIndicatorAfterDelay(kCompletedProgressSeconds);
}

// Runs beside the downloads, and nothing waits for it.
void ViewController::saveMetadata(const std::string& folder) {
  metadataArchiver_->archiveMetadataForRepositoryURL(
      currentRepositoryURL_, folder, [](const auto& archived, const auto& missing) {
        SystemLog::write("[UI] Metadata archived: {} downloaded, {} missing/failed",
                         archived.size(), missing.size());
      });
}

void ViewController::showDownloadErrorAlertWithMessage(const std::optional<std::string>& message) {
  dialogs_.beginAlert(
      window(),
      {"Download completed with errors", message.value_or("One or more downloads failed."), {"OK"}},
      [](std::size_t) {});
}

void ViewController::cancelDownloadsButtonClicked() {
  queueManager_->cancelAllDownloads();
  controls_.cancelDownloadsButton->setEnabled(false);
  report("Cancelling downloads...", "warning");
  hideProgressIndicator();
}

FolderPanel ViewController::folderPanel(std::string prompt, std::string message) {
  return {std::move(prompt), std::move(message), std::exchange(offeredFolder_, "")};
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
