// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <optional>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"
#include "model/PackageSearch.h"
#include "ui/packages/PackageStatistics.h"
#include "ui/packages/PackageTableModel.h"
#include "ui/packages/PackageTableView.h"
#include "ui/widgets/CheckBox.h"
#include "ui/widgets/ElidedLabel.h"
#include "ui/widgets/SearchField.h"

namespace tolvane {

struct PackagesControls {
  CheckBox* selectAllButton = nullptr;
  ElidedLabel* statsLabel = nullptr;
  SearchField* searchField = nullptr;
  PackageTableView* tableView = nullptr;
  QFrame* scrollView = nullptr;
};

// The middle of the window: the packages of the loaded repository, those of them that pass the
// search as rows of the table, and their ticks. It enables and disables nothing.
class PackagesPane {
 public:
  using PackageList = std::vector<PackageEntry>;

  // Makes its controls, without columns, on the window's content, which owns them.
  explicit PackagesPane(QWidget* content);

  const PackagesControls& controls() const { return controls_; }
  PackageTableModel& model() { return *model_; }

  const PackageList& allPackages() const { return allPackages_; }  // in the order of the index
  const PackageList& rows() const { return model_->rows(); }       // in the order of the table
  const TickedPackages& tickedPackages() const { return model_->tickedPackages(); }

  // Another repository: all of its packages become rows, without a search and without ticks.
  void setPackages(PackageList packages);

  // Makes the first search as quick as those that follow. It takes 50 ms for 100,000 packages, so
  // it is done when the search field gets the focus, not with each load.
  void prepareSearch();

  // The packages that match the search field become the rows, without ticks.
  void search();

  // Sorts the rows by the column that the user chose. The highlighted package stays highlighted.
  void sort();

  void addColumn(std::string_view identifier, std::string_view title, int width);
  int heightOfRow(int row) const;

  // Null where there is no such row, or where none is highlighted.
  const PackageEntry* packageAt(int row) const { return model_->packageAt(row); }
  const PackageEntry* highlightedPackage() const;

  void setTicked(int row, bool ticked);
  // Ticks exactly the rows where Select All is on, and nothing where it is off.
  void tickAllOrNone();
  // The ticked ones among the rows.
  PackageList tickedRows() const;

  void updateStatistics();
  void showNoStatistics();

 private:
  void showRows(PackageList rows);

  PackagesControls controls_;
  PackageTableModel* model_;
  PackageList allPackages_;
  std::optional<PackageSearch> search_;          // of all packages, once prepared
  std::optional<PackageStatistics> statistics_;  // of the rows, once counted
};

}  // namespace tolvane
