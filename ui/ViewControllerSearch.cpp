// SPDX-License-Identifier: MIT
#include <fmt/format.h>

#include "model/PackageSearch.h"
#include "ui/ByteCount.h"
#include "ui/PackageWalk.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// The search field and the statistics line.
namespace tolvane {

void ViewController::applySearchFilter() {
  const PackageSearch search(toText(controls_.searchField->text()));
  selectedPackageKeys_.clear();
  controls_.selectAllButton->setChecked(false);
  packages_.clear();
  forEachPackage(allPackages_, [&](const PackageEntry& package) {
    if (search.matches(package)) packages_.push_back(package);
  });
  controls_.selectAllButton->setEnabled(!packages_.empty());
  controls_.downloadSelectedButton->setEnabled(!packages_.empty());
  controls_.downloadMissingButton->setEnabled(!allPackages_.empty());
  controls_.statusLabel->setText(
      toQString(fmt::format("Showing {} of {} packages.", packages_.size(), allPackages_.size())));
  controls_.tableView->reload();
  updateStatsLabel();
  showNoDetails();
}

void ViewController::updateStatsLabel() {
  // Ticks come one by one and by the thousand; the rows have not changed with them.
  if (!statistics_) statistics_ = PackageStatistics::of(packages_);
  controls_.statsLabel->setText(toQString(fmt::format(
      "Shown: {} / {}    Unique: {}    Architectures: {}    Selected: {}    Estimated size: {}",
      packages_.size(), allPackages_.size(), statistics_->unique, statistics_->architectures,
      selectedPackageKeys_.size(), formattedByteCount(statistics_->estimatedSize))));
}

}  // namespace tolvane
