// SPDX-License-Identifier: MIT
#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "model/PackageSearch.h"
#include "ui/ByteCount.h"
#include "ui/PackageStatistics.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// The search field and the statistics line.
namespace tolvane {

void ViewController::applySearchFilter() {
  const PackageSearch search(toText(controls_.searchField->text()));
  selectedPackageKeys_.clear();
  controls_.selectAllButton->setChecked(false);
  packages_.clear();
  std::copy_if(allPackages_.begin(), allPackages_.end(), std::back_inserter(packages_),
               [&](const PackageEntry& package) { return search.matches(package); });
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
  const auto statistics = PackageStatistics::of(packages_);
  controls_.statsLabel->setText(toQString(fmt::format(
      "Shown: {} / {}    Unique: {}    Architectures: {}    Selected: {}    Estimated size: {}",
      packages_.size(), allPackages_.size(), statistics.unique, statistics.architectures,
      selectedPackageKeys_.size(), formattedByteCount(statistics.estimatedSize))));
}

}  // namespace tolvane
