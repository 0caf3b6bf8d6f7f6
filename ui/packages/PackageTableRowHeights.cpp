// SPDX-License-Identifier: MIT
#include <QAccessible>
#include <QEvent>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>
#include <utility>

#include "ui/packages/PackageTableModel.h"
#include "ui/packages/PackageTableView.h"

// The heights of the table's rows, and the scroll position while they change.
namespace tolvane {

void PackageTableView::reset() {
  QTableView::reset();
  pressedTickRow_ = -1;  // the row under the mouse is another package's now
  measured_.assign(static_cast<std::size_t>(model() == nullptr ? 0 : model()->rowCount()), false);
}

void PackageTableView::setRows(std::vector<PackageEntry> rows) {
  packageModel_->setRows(std::move(rows));
  verticalScrollBar()->setValue(0);
}

void PackageTableView::reorderRows(std::vector<PackageEntry> rows, int highlightedRow) {
  const int top = rowAt(0);
  const int hidden = top < 0 ? 0 : -rowViewportPosition(top);
  packageModel_->reorderRows(std::move(rows));
  if (highlightedRow >= 0) {
    const QSignalBlocker blocker(this);
    const bool follow = hasAutoScroll();
    setAutoScroll(false);
    setCurrentIndex(packageModel_->index(highlightedRow, 1));
    setAutoScroll(follow);
  }
  if (top < 0) return;
  executeDelayedItemsLayout();
  measure(top);
  QTableView::updateGeometries();
  verticalScrollBar()->setValue(verticalHeader()->sectionPosition(top) + hidden);
}

// Whether the row's height has changed.
bool PackageTableView::measure(int row) {
  const auto index = static_cast<std::size_t>(row);
  if (index >= measured_.size() || measured_[index] || !rowHeight_) return false;
  measured_[index] = true;
  const int height = rowHeight_(row);
  if (height == verticalHeader()->sectionSize(row)) return false;
  // Otherwise the header emits a signal for each row, and the view lays itself out each time.
  const QSignalBlocker blocker(verticalHeader());
  verticalHeader()->resizeSection(row, height);
  return true;
}

// Measures the rows from the given one, whose upper edge is y, down to the lower edge of the view;
// returns the upper edge of the first row whose height has changed.
std::optional<int> PackageTableView::measureFrom(int row, int y) {
  std::optional<int> changed;
  const int rowCount = static_cast<int>(measured_.size());
  for (; row >= 0 && row < rowCount && y < viewport()->height(); ++row) {
    if (measure(row) && !changed) changed = y;
    y += verticalHeader()->sectionSize(row);
  }
  return changed;
}

void PackageTableView::measureVisibleRows() {
  if (measuring_ || measured_.empty()) return;
  const QScopedValueRollback guard(measuring_, true);
  QScrollBar* const bar = verticalScrollBar();
  const bool atEnd = bar->maximum() > 0 && bar->value() == bar->maximum();
  // Keeping the view at the end, while rows above grow, brings further rows into view.
  for (int first = rowAt(0); first >= 0; first = rowAt(0)) {
    const std::optional<int> changed = measureFrom(first, rowViewportPosition(first));
    if (!changed) break;
    QTableView::updateGeometries();
    if (atEnd) bar->setValue(bar->maximum());
    // What is above was painted correctly; where the view follows the end, nothing was.
    viewport()->update(viewport()->rect().adjusted(0, atEnd ? 0 : *changed, 0, 0));
  }
}

// Measures the rows that have come into view above the given one; returns by how much they grew.
int PackageTableView::measureAbove(int row) {
  const QScopedValueRollback guard(measuring_, true);
  int growth = 0;
  for (int above = rowAt(0); above >= 0 && above < row; ++above) {
    const int before = verticalHeader()->sectionSize(above);
    if (measure(above)) growth += verticalHeader()->sectionSize(above) - before;
  }
  if (growth != 0) QTableView::updateGeometries();
  return growth;
}

void PackageTableView::scrollContentsBy(int dx, int dy) {
  const int firstBefore = dy > 0 ? rowAt(0) : -1;
  QTableView::scrollContentsBy(dx, dy);
  if (measuring_) return;
  // Scrolling up moves the visible rows by the requested distance, however tall the rows above turn
  // out to be.
  if (firstBefore >= 0 && rowViewportPosition(firstBefore) < viewport()->height()) {
    if (const int growth = measureAbove(firstBefore); growth != 0) {
      verticalScrollBar()->setValue(verticalScrollBar()->value() + growth);
      viewport()->update();
    }
  }
  measureVisibleRows();
}

void PackageTableView::measureAgain() {
  measured_.assign(measured_.size(), false);
  const int top = rowAt(0);
  if (top < 0) return;
  const int hidden = -rowViewportPosition(top);
  if (measure(top)) QTableView::updateGeometries();
  verticalScrollBar()->setValue(verticalHeader()->sectionPosition(top) + hidden);
  measureVisibleRows();
}

void PackageTableView::changeEvent(QEvent* event) {
  QTableView::changeEvent(event);
  const QEvent::Type type = event->type();
  if (type == QEvent::FontChange || type == QEvent::StyleChange) measureAgain();
}

// QTableView would repaint everything, for ticks in one column.
void PackageTableView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                                   const QList<int>& roles) {
  if (topLeft.column() != bottomRight.column()) {
    return QTableView::dataChanged(topLeft, bottomRight, roles);
  }
  const int column = topLeft.column();
  viewport()->update(columnViewportPosition(column), 0, columnWidth(column), viewport()->height());
  if (!QAccessible::isActive()) return;
  QAccessibleTableModelChangeEvent event(this, QAccessibleTableModelChangeEvent::DataChanged);
  event.setFirstRow(topLeft.row());
  event.setLastRow(bottomRight.row());
  event.setFirstColumn(column);
  event.setLastColumn(column);
  QAccessible::updateAccessibility(&event);
}

void PackageTableView::scrollTo(const QModelIndex& index, ScrollHint hint) {
  if (index.isValid() && measure(index.row())) QTableView::updateGeometries();
  QTableView::scrollTo(index, hint);
}

void PackageTableView::updateGeometries() {
  QTableView::updateGeometries();
  measureVisibleRows();
}

void PackageTableView::paintEvent(QPaintEvent* event) {
  measureVisibleRows();
  QTableView::paintEvent(event);
}

}  // namespace tolvane
