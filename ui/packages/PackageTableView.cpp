// SPDX-License-Identifier: MIT
#include "ui/packages/PackageTableView.h"

#include <QAccessible>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QProxyStyle>
#include <QSignalBlocker>
#include <utility>

#include "ui/packages/AccessiblePackageTable.h"
#include "ui/packages/DescriptionText.h"
#include "ui/packages/PackageCellDelegate.h"
#include "ui/packages/PackageTableModel.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {

namespace {

class HeaderStyle : public QProxyStyle {
 public:
  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    // A title begins above the texts of its column.
    if (metric == PM_HeaderMargin) return kCellPadding / 2;
    return QProxyStyle::pixelMetric(metric, option, widget);
  }
};

QHeaderView* makeHeader(QWidget* parent) {
  auto* const header = new QHeaderView(Qt::Horizontal, parent);
  auto* const style = new HeaderStyle;
  style->setParent(header);
  header->setStyle(style);
  header->setHighlightSections(false);
  header->setSectionsClickable(true);
  header->setSortIndicator(-1, Qt::AscendingOrder);
  header->setSortIndicatorShown(true);
  return header;
}

}  // namespace

PackageTableView::PackageTableView(QWidget* parent) : QTableView(parent) {
  installAccessiblePackageTable();
  setFrameShape(QFrame::NoFrame);
  setAlternatingRowColors(true);
  setShowGrid(true);
  setWordWrap(true);
  setTabKeyNavigation(false);
  setEditTriggers(NoEditTriggers);
  setSelectionBehavior(SelectRows);
  setSelectionMode(SingleSelection);
  setVerticalScrollMode(ScrollPerPixel);
  setHorizontalScrollMode(ScrollPerPixel);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  verticalHeader()->hide();
  verticalHeader()->setMinimumSectionSize(kBaseRowHeight);
  verticalHeader()->setDefaultSectionSize(kBaseRowHeight);
  setHorizontalHeader(makeHeader(this));
  connect(horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
          &PackageTableView::takeSortIndicator);
  connect(this, &QTableView::doubleClicked, this,
          [this](const QModelIndex& index) { emit rowDoubleClicked(index.row()); });
}

void PackageTableView::setPackageModel(PackageTableModel* model) {
  packageModel_ = model;
  setModel(model);
  setItemDelegate(new PackageCellDelegate(*model, this));
}

int PackageTableView::highlightedRow() const {
  const QModelIndexList rows = selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.first().row();
}

std::optional<SortDescriptor> PackageTableView::sortDescriptor() const {
  if (sortSection_ < 0) return std::nullopt;
  return SortDescriptor{packageModel_->identifierOfColumn(sortSection_),
                        sortOrder_ == Qt::AscendingOrder};
}

void PackageTableView::sortByClickOn(int column) {
  const bool reverse = column == sortSection_ && sortOrder_ == Qt::AscendingOrder;
  horizontalHeader()->setSortIndicator(column, reverse ? Qt::DescendingOrder : Qt::AscendingOrder);
}

// The header moves its arrow on any click; from the column of the ticks it has to be moved back.
void PackageTableView::takeSortIndicator(int section, Qt::SortOrder order) {
  if (!packageModel_->isSortable(section)) {
    const QSignalBlocker blocker(horizontalHeader());
    horizontalHeader()->setSortIndicator(sortSection_, sortOrder_);
    return;
  }
  sortSection_ = section;
  sortOrder_ = order;
  packageModel_->setSortDescriptor(sortDescriptor());
  emit sortDescriptorChanged();
}

void PackageTableView::copy() {
  if (highlightedRow() >= 0) emit copyRequested(highlightedRow());
}

void PackageTableView::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) {
    copy();
  } else if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
    if (highlightedRow() >= 0) toggleTick(highlightedRow());
  } else {
    QTableView::keyPressEvent(event);
  }
}

// The row whose tick is under the mouse, or -1.
int PackageTableView::tickRowAt(const QMouseEvent& event) const {
  const QModelIndex index = indexAt(event.position().toPoint());
  const bool tick = index.isValid() && event.button() == Qt::LeftButton &&
                    packageModel_->identifierOfColumn(index.column()) == kSelectedColumn;
  return tick ? index.row() : -1;
}

void PackageTableView::toggleTick(int row) {
  const QModelIndex index =
      packageModel_->index(row, packageModel_->columnWithIdentifier(kSelectedColumn));
  const bool on = index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
  packageModel_->setData(index, on ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
  if (!QAccessible::isActive()) return;
  QAccessible::State changed;
  changed.checked = true;
  QAccessibleStateChangeEvent event(this, changed);
  event.setChild(accessibleChildIndex(row, index.column()));
  QAccessible::updateAccessibility(&event);
}

int PackageTableView::accessibleChildIndex(int row, int column) const {
  return (row + 1) * (packageModel_->columnCount() + 1) + column + 1;
}

void PackageTableView::mousePressEvent(QMouseEvent* event) {
  pressedTickRow_ = tickRowAt(*event);
  if (pressedTickRow_ < 0) QTableView::mousePressEvent(event);
}

void PackageTableView::mouseMoveEvent(QMouseEvent* event) {
  if (pressedTickRow_ < 0) QTableView::mouseMoveEvent(event);
}

void PackageTableView::mouseReleaseEvent(QMouseEvent* event) {
  const int pressed = std::exchange(pressedTickRow_, -1);
  if (pressed < 0) {
    QTableView::mouseReleaseEvent(event);
  } else if (tickRowAt(*event) == pressed) {
    toggleTick(pressed);
  }
}

void PackageTableView::mouseDoubleClickEvent(QMouseEvent* event) {
  // The second press of two quick ones on a tick is a press like the first.
  if (tickRowAt(*event) >= 0) {
    mousePressEvent(event);
  } else {
    QTableView::mouseDoubleClickEvent(event);
  }
}

void PackageTableView::selectionChanged(const QItemSelection& selected,
                                        const QItemSelection& deselected) {
  QTableView::selectionChanged(selected, deselected);
  emit highlightChanged();
}

}  // namespace tolvane
