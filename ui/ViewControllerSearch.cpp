// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <span>
#include <vector>

#include "base/ByteCount.h"
#include "model/PackageSearch.h"
#include "model/PackageWalk.h"
#include "ui/Strings.h"
#include "ui/ViewController.h"

// The search field and the statistics line.
namespace tolvane {

namespace {

std::vector<const PackageEntry*> matchesAmong(std::span<const PackageEntry> packages,
                                              const PackageSearch& search) {
  std::vector<const PackageEntry*> matches;
  forEachPackage(packages, [&](const PackageEntry& package) {
    if (search.matches(package)) matches.push_back(&package);
  });
  return matches;
}

}  // namespace

void ViewController::applySearchFilter() {
  const PackageSearch search(toText(controls_.searchField->text()));
  selectedPackageKeys_.clear();
  controls_.selectAllButton->setChecked(false);
  packages_.clear();
  const auto matchesIn = [&](auto packages) { return matchesAmong(packages, search); };
  for (const auto& matches : inHalves(allPackages_, matchesIn)) {
    for (const PackageEntry* match : matches) packages_.push_back(*match);
  }
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
