// SPDX-License-Identifier: MIT
#pragma once

#include <QTableView>
#include <functional>
#include <optional>
#include <vector>

#include "ui/packages/PackageSorting.h"

namespace tolvane {

class PackageTableModel;

// The table of packages. A row is measured when it first comes into view after its rows were set,
// and keeps its height until they are set again; until it is measured, the scroll range counts it
// as a row of one line. So the cost of new rows does not depend on the length of their
// descriptions.
class PackageTableView : public QTableView {
  Q_OBJECT

 public:
  explicit PackageTableView(QWidget* parent);

  void setPackageModel(PackageTableModel* model);
  void setRowHeight(std::function<int(int row)> rowHeight) { rowHeight_ = std::move(rowHeight); }

  // -1 where no row is highlighted.
  int highlightedRow() const;

  // Shows other rows from their top, with none highlighted. They are in no column's order, which
  // screen readers read out; the arrow stays with the column that the user chose.
  void setRows(std::vector<PackageEntry> rows);
  // Shows the same rows in another order: the scroll position stays, and the given row (none for
  // -1) is highlighted without a signal.
  void reorderRows(std::vector<PackageEntry> rows, int highlightedRow);

  // Measures the rows again as they come into view. The scroll position stays.
  void measureAgain();

  // The column that the user chose to sort by; none before the first choice.
  std::optional<SortDescriptor> sortDescriptor() const;

  // Sorts by the column; reverses the order where it is sorted by already.
  void sortByClickOn(int column);

  // As a click on the row's tick.
  void toggleTick(int row);

  // The index by which accessibility events name a cell, or a header for row or column -1.
  int accessibleChildIndex(int row, int column) const;

  void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                   const QList<int>& roles = {}) override;
  void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
  void reset() override;

 public slots:
  void copy();

 signals:
  void sortDescriptorChanged();
  void highlightChanged();
  void rowDoubleClicked(int row);
  void copyRequested(int row);

 protected:
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
  void updateGeometries() override;

 private:
  void takeSortIndicator(int section, Qt::SortOrder order);
  int tickRowAt(const QMouseEvent& event) const;

  bool measure(int row);
  std::optional<int> measureFrom(int row, int y);
  void measureVisibleRows();
  int measureAbove(int row);

  PackageTableModel* packageModel_ = nullptr;
  std::function<int(int)> rowHeight_;
  std::vector<bool> measured_;
  bool measuring_ = false;
  int pressedTickRow_ = -1;
  int sortSection_ = -1;
  Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
};

}  // namespace tolvane
