// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "ui/ViewController.h"

// The ticked packages, or else the highlighted one, into a folder that the user chooses.
namespace tolvane {

void ViewController::downloadSelectedButtonClicked() {
  if (!currentRepositoryURL_) return report("No repository URL available.", "error");
  PackageList chosen;
  if (!selectedPackageKeys_.empty()) {
    chosen = selectedPackages();
  } else if (const auto* package = tableModel_->packageAt(controls_.tableView->highlightedRow())) {
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
  appendConsoleMessage(fmt::format("Preparing to download {} selected package(s).", chosen.size()),
                       "info");
  chooseFolderThenDownloadPackages(std::move(chosen));
}

void ViewController::chooseFolderThenDownloadPackages(PackageList packages) {
  const FolderPanel panel = folderPanel(
      "Download Here",
      fmt::format("Choose where {} selected .deb files should be saved.", packages.size()));
  dialogs_.beginFolderPanel(
      window(), panel,
      lifetime_.guard([this, packages = std::move(packages)](std::optional<ChosenFolder> folder) {
        if (!folder) return report("Download cancelled.", "warning");
        setDownloading(true);
        report(fmt::format("Starting {} downloads...", packages.size()), "info");
        startDownloadRun(packages, std::move(*folder), {"Downloading", "Finished."});
      }));
}

}  // namespace tolvane
