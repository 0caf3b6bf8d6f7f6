// SPDX-License-Identifier: MIT
#pragma once

#include <QTableView>
#include <functional>
#include <optional>
#include <vector>

#include "ui/packages/PackageSorting.h"

namespace tolvane {

class PackageTableModel;

// The table of packages. A row is measured when it first comes into view after a reload and keeps
// its height until the next one; until then the scroll range takes it for a row of one line. So
// the cost of a reload does not depend on the number of rows or the length of their texts.
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

  // Measures the rows anew as they come into view, as after a reload. The row on top stays.
  void measureAgain();

  // The column that the user chose to sort by; none before the first choice.
  std::optional<SortDescriptor> sortDescriptor() const;

  // Sorts by the column, or turns its order round where it is sorted by already.
  void sortByClickOn(int column);

  // As a click on the row's tick.
  void toggleTick(int row);

  // By which number the toolkit's accessible events name a cell, or a header for row or column -1.
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
