// SPDX-License-Identifier: MIT
#include "ui/packages/PackagesPane.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

#include "base/ByteCount.h"
#include "ui/Strings.h"
#include "ui/packages/DescriptionText.h"
#include "ui/packages/PackageSorting.h"
#include "ui/packages/PackageTexts.h"
#include "ui/widgets/MakeControl.h"

namespace tolvane {

namespace {

constexpr int kWidthWithoutColumn = 300;

}  // namespace

PackagesPane::PackagesPane(QWidget* content) {
  PackagesControls& c = controls_;
  c.selectAllButton = makeControl<CheckBox>("selectAllButton", content);
  c.selectAllButton->setText(QStringLiteral("Select All"));
  c.selectAllButton->setAccessibleName(c.selectAllButton->text());
  c.selectAllButton->setEnabled(false);
  c.statsLabel = makeControl<ElidedLabel>("statsLabel", content);
  c.statsLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
  c.statsLabel->setAccessibleName(ElidedLabel::tr("Statistics"));
  showNoStatistics();
  c.searchField = makeControl<SearchField>("searchField", content);
  c.searchField->setPlaceholderText(QStringLiteral("Search packages"));
  c.searchField->setAccessibleName(SearchField::tr("Search packages"));
  c.searchField->setEnabled(false);
  c.scrollView = makeScrollView("scrollView", content);
  c.tableView = makeControl<PackageTableView>("tableView", c.scrollView);
  c.tableView->setAccessibleName(PackageTableView::tr("Packages"));
  model_ = new PackageTableModel(c.tableView);
  c.tableView->setPackageModel(model_);
  c.tableView->setRowHeight([this](int row) { return heightOfRow(row); });
}

void PackagesPane::setPackages(PackageList packages) {
  search_.reset();
  allPackages_ = std::move(packages);
  controls_.searchField->empty();
  showRows(allPackages_);
}

void PackagesPane::prepareSearch() {
  if (!search_) search_.emplace(allPackages_);
}

void PackagesPane::search() {
  prepareSearch();
  showRows(search_->packagesMatching(toText(controls_.searchField->text())));
}

void PackagesPane::showRows(PackageList rows) {
  statistics_.reset();
  controls_.selectAllButton->setChecked(false);
  controls_.tableView->setRows(std::move(rows));
}

void PackagesPane::sort() {
  const auto descriptor = controls_.tableView->sortDescriptor();
  if (!descriptor) return;
  PackageList sorted = sortedPackages(rows(), *descriptor);
  int row = -1;
  if (const PackageEntry* const highlighted = highlightedPackage()) {
    const auto found = std::find_if(sorted.begin(), sorted.end(), [&](const auto& candidate) {
      return candidate.isSameRecordAs(*highlighted);
    });
    row = static_cast<int>(found - sorted.begin());
  }
  controls_.tableView->reorderRows(std::move(sorted), row);
}

void PackagesPane::addColumn(std::string_view identifier, std::string_view title, int width) {
  model_->addColumn(identifier, toQString(title));
  controls_.tableView->setColumnWidth(model_->columnCount() - 1, width);
}

int PackagesPane::heightOfRow(int row) const {
  const PackageEntry* const package = packageAt(row);
  if (package == nullptr) return kBaseRowHeight;
  const int column = model_->columnWithIdentifier(kDescriptionColumn);
  const int width = column < 0 ? kWidthWithoutColumn : controls_.tableView->columnWidth(column);
  return rowHeightForDescription(package->packageDescription(), width, controls_.tableView->font());
}

const PackageEntry* PackagesPane::highlightedPackage() const {
  return packageAt(controls_.tableView->highlightedRow());
}

void PackagesPane::setTicked(int row, bool ticked) {
  const PackageEntry* const package = packageAt(row);
  if (package == nullptr) return;
  model_->setTicked(*package, ticked);
  // Ticks on packages that a search hides count too.
  const std::size_t ticks = tickedPackages().size();
  controls_.selectAllButton->setChecked(!rows().empty() && ticks == rows().size());
  updateStatistics();
}

void PackagesPane::tickAllOrNone() {
  if (controls_.selectAllButton->isChecked()) {
    model_->tickAllRows();
  } else {
    model_->untickAll();
  }
  controls_.tableView->measureAgain();
  updateStatistics();
}

PackagesPane::PackageList PackagesPane::tickedRows() const {
  PackageList ticked;
  std::copy_if(rows().begin(), rows().end(), std::back_inserter(ticked),
               [this](const PackageEntry& row) { return tickedPackages().contains(row); });
  return ticked;
}

void PackagesPane::updateStatistics() {
  // Ticks come one by one and by the thousand; the rows have not changed with them.
  if (!statistics_) statistics_ = PackageStatistics::of(rows());
  controls_.statsLabel->setText(toQString(fmt::format(
      "Shown: {} / {}    Unique: {}    Architectures: {}    Selected: {}    Estimated size: {}",
      rows().size(), allPackages_.size(), statistics_->unique, statistics_->architectures,
      tickedPackages().size(), formattedByteCount(statistics_->estimatedSize))));
}

void PackagesPane::showNoStatistics() {
  controls_.statsLabel->setText(QStringLiteral("No repository loaded."));
}

}  // namespace tolvane
