// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <utility>

#include "platform/SystemLog.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// Loading a repository into the window.
namespace tolvane {

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
  controls_.statusLabel->setText(toQString(fmt::format("Found {} packages.", packages_.size())));
  controls_.tableView->reload();
  updateStatsLabel();
  showNoDetails();
  hideProgressIndicator();
}

}  // namespace tolvane
