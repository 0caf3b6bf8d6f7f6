// SPDX-License-Identifier: MIT
#include <QApplication>
#include <QClipboard>
#include <algorithm>

#include "ui/Strings.h"
#include "ui/ViewController.h"
#include "ui/packages/DescriptionText.h"
#include "ui/packages/PackageSorting.h"
#include "ui/packages/PackageTexts.h"

// The package table: rows, sorting, ticks, and the details of the highlighted package.
namespace tolvane {

namespace {

constexpr int kWidthWithoutColumn = 300;

}  // namespace

void ViewController::addColumnWithIdentifier(std::string_view identifier, std::string_view title,
                                             int width) {
  tableModel_->addColumn(identifier, toQString(title));
  controls_.tableView->setColumnWidth(tableModel_->columnCount() - 1, width);
}

int ViewController::heightOfRow(int row) const {
  const PackageEntry* const package = tableModel_->packageAt(row);
  if (package == nullptr) return kBaseRowHeight;
  const int column = tableModel_->columnWithIdentifier(kDescriptionColumn);
  const int width = column < 0 ? kWidthWithoutColumn : controls_.tableView->columnWidth(column);
  return rowHeightForDescription(package->packageDescription(), width, controls_.tableView->font());
}

void ViewController::sortDescriptorsDidChange() {
  const auto descriptor = controls_.tableView->sortDescriptor();
  if (!descriptor) return;
  const PackageEntry* const package = tableModel_->packageAt(controls_.tableView->highlightedRow());
  const auto highlighted = package == nullptr ? std::nullopt : std::optional(*package);
  packages_ = sortedPackages(packages_, *descriptor);
  int row = -1;
  if (highlighted) {
    const auto found = std::find_if(packages_.begin(), packages_.end(), [&](const auto& candidate) {
      return candidate.isSameRecordAs(*highlighted);
    });
    row = static_cast<int>(found - packages_.begin());
  }
  controls_.tableView->reloadInPlace(row);
}

void ViewController::tableViewSelectionDidChange() {
  const PackageEntry* const package = tableModel_->packageAt(controls_.tableView->highlightedRow());
  if (package != nullptr) {
    showDetailsForPackage(*package);
  } else {
    showNoDetails();
  }
}

void ViewController::tableViewDoubleClicked(int row) {
  if (const PackageEntry* package = tableModel_->packageAt(row)) showDetailsForPackage(*package);
}

void ViewController::showDetailsForPackage(const PackageEntry& package) {
  controls_.detailTextView->setPlainText(detailsText(package));
}

void ViewController::showNoDetails() {
  controls_.detailTextView->setPlainText("Select a package to view details.");
}

void ViewController::copyDetails(int row) {
  if (const PackageEntry* package = tableModel_->packageAt(row)) {
    QApplication::clipboard()->setText(toQString(detailsText(*package)));
  }
}

void ViewController::packageCheckboxClicked(int row, bool on) {
  const PackageEntry* const package = tableModel_->packageAt(row);
  if (package == nullptr) return;
  if (on) {
    selectedPackageKeys_.insert(*package);
  } else {
    selectedPackageKeys_.erase(*package);
  }
  // Ticks on rows that a search hides count too.
  controls_.selectAllButton->setChecked(!packages_.empty() &&
                                        selectedPackageKeys_.size() == packages_.size());
  tableModel_->reloadTicks();
  updateStatsLabel();
}

void ViewController::selectAllButtonClicked() {
  selectedPackageKeys_.clear();
  if (controls_.selectAllButton->isChecked()) selectedPackageKeys_.insertAll(packages_);
  tableModel_->reloadTicks();
  controls_.tableView->measureAgain();
  updateStatsLabel();
}

ViewController::PackageList ViewController::selectedPackages() const {
  PackageList ticked;
  std::copy_if(
      packages_.begin(), packages_.end(), std::back_inserter(ticked),
      [this](const PackageEntry& package) { return selectedPackageKeys_.contains(package); });
  return ticked;
}

}  // namespace tolvane
