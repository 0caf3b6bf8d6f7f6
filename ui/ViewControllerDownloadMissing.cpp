// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "ui/ViewController.h"

// What a folder lacks of the whole repository.
namespace tolvane {

void ViewController::downloadMissingButtonClicked() {
  if (allPackages_.empty()) return report("No packages loaded.", "error");
  if (!currentRepositoryURL_) return report("No repository URL available.", "error");
  dialogs_.beginFolderPanel(
      window(),
      folderPanel("Scan & Download Missing",
                  "Choose the repository archive folder. Existing .deb files will be skipped."),
      lifetime_.guard([this](std::optional<ChosenFolder> folder) {
        if (!folder) return report("Download missing cancelled.", "warning");
        downloadMissingInto(std::move(*folder));
      }));
}

void ViewController::downloadMissingInto(ChosenFolder folder) {
  const PackageList missing =
      DownloadQueueManager::missingPackagesFromPackages(allPackages_, folder.path);
  const std::size_t present = allPackages_.size() - missing.size();
  report(fmt::format("Missing: {}   Already present: {}", missing.size(), present),
         missing.empty() ? "success" : "info");
  if (missing.empty()) {
    folder.access.reset();
    hideProgressIndicator();
    return appendConsoleMessage("No missing packages found. Local folder is already complete.",
                                "success");
  }
  setDownloading(true);
  startDownloadRun(missing, std::move(folder),
                   {"Downloading missing", "Finished missing.", present});
}

}  // namespace tolvane
