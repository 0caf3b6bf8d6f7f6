// SPDX-License-Identifier: MIT
#include "workflow/DownloadWorkflow.h"

#include <fmt/format.h>
#include <utility>

#include "base/SystemLog.h"

namespace tolvane {

namespace {

DownloadEnd endOf(const DownloadCounters& counters, std::optional<std::size_t> alreadyPresent) {
  DownloadEnd end;
  end.counters = counters;
  end.text = (alreadyPresent ? "Finished missing. " : "Finished. ") + summaryText(counters);
  end.details =
      fmt::format("Downloaded: {}\nVerified: {}\nFailed: {}\nValidation failed: {}\nSkipped: {}",
                  counters.downloaded, counters.verified, counters.failed,
                  counters.validationFailed, counters.skipped);
  if (alreadyPresent) {
    end.text += fmt::format("  Already present: {}", *alreadyPresent);
    end.details += fmt::format("\nAlready present: {}", *alreadyPresent);
  }
  return end;
}

}  // namespace

std::string MissingScan::text() const {
  return fmt::format("Missing: {}   Already present: {}", missing.size(), alreadyPresent);
}

MissingScan scanForMissing(const std::vector<PackageEntry>& packages, const std::string& folder) {
  MissingScan scan{DownloadQueueManager::missingPackagesFromPackages(packages, folder)};
  scan.alreadyPresent = packages.size() - scan.missing.size();
  return scan;
}

void DownloadWorkflow::start(const DownloadRun& run, const Completion& completion) {
  observer_.activityChanged(Activity::download, true);
  const char* const action = run.alreadyPresent ? "Downloading missing " : "Downloading ";
  runQueue(
      run,
      [this, action](const DownloadCounters& counters, std::uint64_t total) {
        observer_.showStatus(action + progressText(counters, total));
      },
      [this, alreadyPresent = run.alreadyPresent, completion](const DownloadCounters& counters) {
        observer_.showProgress({Progress::State::ended});
        observer_.activityChanged(Activity::download, false);
        completion(endOf(counters, alreadyPresent));
      });
}

void DownloadWorkflow::runQueue(const DownloadRun& run, DownloadQueueManager::RunProgress progress,
                                DownloadQueueManager::RunCompletion completion) {
  observer_.showProgress({Progress::State::determinate, 0, run.packages.size()});
  queue_.startRun(
      run.packages, run.repositoryURL, run.folder,
      lifetime_.guard([this, progress = std::move(progress)](const DownloadCounters& counters,
                                                             std::uint64_t total) {
        observer_.showProgress({Progress::State::determinate, counters.completed(), total});
        progress(counters, total);
      }),
      lifetime_.guard(std::move(completion)));
}

void DownloadWorkflow::saveMetadata(const std::optional<URL>& repositoryURL,
                                    const std::string& folder) {
  metadataArchiver_.archiveMetadataForRepositoryURL(
      repositoryURL, folder, [](const auto& archived, const auto& missing) {
        SystemLog::write("[UI] Metadata archived: {} downloaded, {} missing/failed",
                         archived.size(), missing.size());
      });
}

void DownloadWorkflow::cancel() {
  queue_.cancelAllDownloads();
  observer_.report("Cancelling downloads...", LogType::warning);
  observer_.showProgress({Progress::State::hidden});
}

}  // namespace tolvane
