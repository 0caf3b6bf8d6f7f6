// SPDX-License-Identifier: MIT
#include "ui/packages/AccessiblePackageTable.h"

#include <QAccessibleWidget>
#include <QHash>
#include <QHeaderView>

#include "ui/packages/PackageTableView.h"

namespace tolvane {

namespace {

// A cell or a header of the table; row or column -1 is that of the headers.
class Part : public QAccessibleInterface {
 public:
  Part(PackageTableView* view, int row, int column) : view_(view), row_(row), column_(column) {}

  int childIndex() const { return view_->accessibleChildIndex(row_, column_); }

  bool isValid() const override { return row_ < view_->model()->rowCount(); }
  QObject* object() const override { return nullptr; }
  QAccessibleInterface* parent() const override {
    return QAccessible::queryAccessibleInterface(view_);
  }
  QAccessibleInterface* child(int) const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  void setText(QAccessible::Text, const QString&) override {}

  // The row headers, which are hidden.
  QAccessible::Role role() const override { return QAccessible::RowHeader; }
  QRect rect() const override { return {}; }
  QString text(QAccessible::Text) const override { return {}; }
  QAccessible::State state() const override {
    QAccessible::State state;
    state.invisible = true;
    return state;
  }

 protected:
  PackageTableView* view_;
  int row_;
  int column_;
};

class ColumnHeader : public Part, public QAccessibleActionInterface {
 public:
  ColumnHeader(PackageTableView* view, int column) : Part(view, -1, column) {}

  QAccessible::Role role() const override { return QAccessible::ColumnHeader; }
  QAccessible::State state() const override { return {}; }

  QRect rect() const override {
    const QHeaderView& header = *view_->horizontalHeader();
    const QPoint corner(header.sectionViewportPosition(column_), 0);
    return {header.viewport()->mapToGlobal(corner),
            QSize(header.sectionSize(column_), header.height())};
  }

  QString text(QAccessible::Text kind) const override {
    const auto data = [this](int role) {
      return view_->model()->headerData(column_, Qt::Horizontal, role).toString();
    };
    if (kind == QAccessible::Description) return data(Qt::AccessibleDescriptionRole);
    if (kind != QAccessible::Name) return {};
    const QString spoken = data(Qt::AccessibleTextRole);
    return spoken.isEmpty() ? data(Qt::DisplayRole) : spoken;
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type != QAccessible::ActionInterface) return nullptr;
    return static_cast<QAccessibleActionInterface*>(this);
  }

  QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString& /*name*/) override { view_->sortByClickOn(column_); }
  QStringList keyBindingsForAction(const QString& /*name*/) const override { return {}; }
};

class Cell : public Part, public QAccessibleTableCellInterface, public QAccessibleActionInterface {
 public:
  using Part::Part;

  QAccessible::Role role() const override { return QAccessible::Cell; }

  QRect rect() const override {
    const QRect place = view_->visualRect(index());
    return {view_->viewport()->mapToGlobal(place.topLeft()), place.size()};
  }

  QAccessible::State state() const override {
    QAccessible::State state;
    state.selectable = true;
    state.focusable = true;
    state.selected = isSelected();
    state.focused = view_->currentIndex() == index();
    state.checkable = isTick();
    state.checked = index().data(Qt::CheckStateRole).toInt() == Qt::Checked;
    state.invisible = !view_->viewport()->rect().intersects(view_->visualRect(index()));
    return state;
  }

  QString text(QAccessible::Text kind) const override {
    if (kind != QAccessible::Name) return {};
    return index().data(isTick() ? Qt::AccessibleTextRole : Qt::DisplayRole).toString();
  }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TableCellInterface) {
      return static_cast<QAccessibleTableCellInterface*>(this);
    }
    if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
    return nullptr;
  }

  bool isSelected() const override { return view_->selectionModel()->isSelected(index()); }
  int columnIndex() const override { return column_; }
  int rowIndex() const override { return row_; }
  int columnExtent() const override { return 1; }
  int rowExtent() const override { return 1; }
  QAccessibleInterface* table() const override { return parent(); }
  QList<QAccessibleInterface*> rowHeaderCells() const override { return {}; }
  QList<QAccessibleInterface*> columnHeaderCells() const override {
    return {parent()->child(view_->accessibleChildIndex(-1, column_))};
  }

  // A tick is toggled; any other cell highlights its row.
  QStringList actionNames() const override { return {isTick() ? toggleAction() : pressAction()}; }
  void doAction(const QString& name) override {
    if (name == toggleAction() && isTick()) {
      view_->toggleTick(row_);
    } else if (name == pressAction()) {
      view_->selectRow(row_);
    }
  }
  QStringList keyBindingsForAction(const QString& /*name*/) const override { return {}; }

 private:
  QModelIndex index() const { return view_->model()->index(row_, column_); }
  bool isTick() const { return index().flags() & Qt::ItemIsUserCheckable; }
};

class AccessiblePackageTable : public QAccessibleWidget, public QAccessibleTableInterface {
 public:
  explicit AccessiblePackageTable(PackageTableView* view)
      : QAccessibleWidget(view, QAccessible::Table), view_(view) {}
  ~AccessiblePackageTable() override { forgetParts(); }

  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TableInterface) return static_cast<QAccessibleTableInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
  }

  // The rows and the columns with their headers; a part is made when it is first requested.
  int childCount() const override { return (rowCount() + 1) * (columnCount() + 1); }
  QAccessibleInterface* child(int index) const override {
    if (index < 0 || index >= childCount()) return nullptr;
    if (const auto known = parts_.constFind(index); known != parts_.constEnd()) {
      return QAccessible::accessibleInterface(*known);
    }
    QAccessibleInterface* const part =
        makePart(index / (columnCount() + 1) - 1, index % (columnCount() + 1) - 1);
    parts_.insert(index, QAccessible::registerAccessibleInterface(part));
    return part;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    const auto* const part = dynamic_cast<const Part*>(child);
    return part == nullptr ? -1 : part->childIndex();
  }
  QAccessibleInterface* childAt(int x, int y) const override {
    const QHeaderView* const header = view_->horizontalHeader();
    const QPoint inHeader = header->mapFromGlobal(QPoint(x, y));
    if (header->rect().contains(inHeader)) {
      const int column = header->logicalIndexAt(inHeader);
      return column < 0 ? nullptr : child(view_->accessibleChildIndex(-1, column));
    }
    const QPoint inRows = view_->viewport()->mapFromGlobal(QPoint(x, y));
    if (!view_->viewport()->rect().contains(inRows)) return nullptr;
    const QModelIndex index = view_->indexAt(inRows);
    return cellAt(index.row(), index.column());
  }
  QAccessibleInterface* focusChild() const override {
    const QModelIndex current = view_->currentIndex();
    return view_->hasFocus() ? cellAt(current.row(), current.column()) : nullptr;
  }

  QAccessibleInterface* cellAt(int row, int column) const override {
    const bool exists = row >= 0 && column >= 0 && row < rowCount() && column < columnCount();
    return exists ? child(view_->accessibleChildIndex(row, column)) : nullptr;
  }
  int rowCount() const override { return view_->model()->rowCount(); }
  int columnCount() const override { return view_->model()->columnCount(); }
  QString columnDescription(int column) const override {
    return view_->model()->headerData(column, Qt::Horizontal).toString();
  }
  QString rowDescription(int) const override { return {}; }
  QAccessibleInterface* caption() const override { return nullptr; }
  QAccessibleInterface* summary() const override { return nullptr; }

  // One row at most is highlighted, and no column.
  QList<int> selectedRows() const override {
    return view_->highlightedRow() < 0 ? QList<int>() : QList<int>{view_->highlightedRow()};
  }
  QList<QAccessibleInterface*> selectedCells() const override {
    QList<QAccessibleInterface*> cells;
    for (int column = 0; column < selectedCellCount(); ++column) {
      cells << cellAt(view_->highlightedRow(), column);
    }
    return cells;
  }
  QList<int> selectedColumns() const override { return {}; }
  int selectedRowCount() const override { return static_cast<int>(selectedRows().size()); }
  int selectedCellCount() const override { return selectedRowCount() * columnCount(); }
  int selectedColumnCount() const override { return 0; }
  bool isRowSelected(int row) const override { return selectedRows().contains(row); }
  bool isColumnSelected(int) const override { return false; }
  bool selectRow(int row) override {
    if (row < 0 || row >= rowCount()) return false;
    view_->selectRow(row);
    return true;
  }
  bool unselectRow(int row) override {
    if (!isRowSelected(row)) return false;
    view_->clearSelection();
    return true;
  }
  bool selectColumn(int) override { return false; }
  bool unselectColumn(int) override { return false; }

  void modelChange(QAccessibleTableModelChangeEvent* event) override {
    if (event->modelChangeType() != QAccessibleTableModelChangeEvent::DataChanged) forgetParts();
  }

 private:
  QAccessibleInterface* makePart(int row, int column) const {
    if (row >= 0 && column >= 0) return new Cell(view_, row, column);
    if (column >= 0) return new ColumnHeader(view_, column);
    return new Part(view_, row, column);
  }

  void forgetParts() {
    for (const QAccessible::Id part : std::as_const(parts_)) {
      QAccessible::deleteAccessibleInterface(part);
    }
    parts_.clear();
  }

  PackageTableView* view_;
  mutable QHash<int, QAccessible::Id> parts_;
};

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
  if (className != QLatin1String("tolvane::PackageTableView")) return nullptr;
  return new AccessiblePackageTable(static_cast<PackageTableView*>(object));
}

}  // namespace

void installAccessiblePackageTable() {
  static const bool installed = (QAccessible::installFactory(makeInterface), true);
  static_cast<void>(installed);
}

}  // namespace tolvane
