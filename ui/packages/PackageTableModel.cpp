// SPDX-License-Identifier: MIT
#include "ui/packages/PackageTableModel.h"

#include <algorithm>
#include <utility>

#include "ui/Strings.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {

void PackageTableModel::addColumn(std::string_view identifier, const QString& title) {
  const int column = columnCount();
  beginInsertColumns({}, column, column);
  columns_.push_back({std::string(identifier), title});
  endInsertColumns();
}

int PackageTableModel::columnWithIdentifier(std::string_view identifier) const {
  const auto found = std::find_if(columns_.begin(), columns_.end(), [&](const Column& column) {
    return column.identifier == identifier;
  });
  return found == columns_.end() ? -1 : static_cast<int>(found - columns_.begin());
}

const std::string& PackageTableModel::identifierOfColumn(int column) const {
  return columns_.at(static_cast<std::size_t>(column)).identifier;
}

bool PackageTableModel::isSortable(int column) const {
  return column >= 0 && column < columnCount() && identifierOfColumn(column) != kSelectedColumn;
}

const PackageEntry* PackageTableModel::packageAt(int row) const {
  if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return nullptr;
  return &rows_[static_cast<std::size_t>(row)];
}

void PackageTableModel::setRows(PackageList rows) {
  setSortDescriptor(std::nullopt);
  beginResetModel();
  rows_ = std::move(rows);
  ticked_.clear();
  endResetModel();
}

void PackageTableModel::reorderRows(PackageList rows) {
  beginResetModel();
  rows_ = std::move(rows);
  endResetModel();
}

void PackageTableModel::setTicked(const PackageEntry& package, bool ticked) {
  if (ticked) {
    ticked_.insert(package);
  } else {
    ticked_.erase(package);
  }
  ticksDidChange();
}

void PackageTableModel::tickAllRows() {
  ticked_.clear();
  ticked_.insertAll(rows_);
  ticksDidChange();
}

void PackageTableModel::untickAll() {
  ticked_.clear();
  ticksDidChange();
}

void PackageTableModel::ticksDidChange() {
  const int column = columnWithIdentifier(kSelectedColumn);
  if (rows_.empty() || column < 0) return;
  // All rows, since packages with the same key share their tick.
  emit dataChanged(index(0, column), index(rowCount() - 1, column), {Qt::CheckStateRole});
}

void PackageTableModel::setSortDescriptor(const std::optional<SortDescriptor>& descriptor) {
  sortDescriptor_ = descriptor;
  if (!columns_.empty()) emit headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
}

int PackageTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int PackageTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(columns_.size());
}

QVariant PackageTableModel::data(const QModelIndex& index, int role) const {
  const PackageEntry* package = packageAt(index.row());
  if (package == nullptr) return {};
  const std::string& identifier = identifierOfColumn(index.column());
  if (identifier == kSelectedColumn) return tickData(*package, role);
  if (role == Qt::DisplayRole) return toQString(cellText(*package, identifier));
  return {};
}

QVariant PackageTableModel::tickData(const PackageEntry& package, int role) const {
  if (role == Qt::CheckStateRole) {
    return ticked_.contains(package) ? Qt::Checked : Qt::Unchecked;
  }
  if (role == Qt::AccessibleTextRole) {
    return tr("Select %1").arg(toQString(package.displayName()));
  }
  return {};
}

QVariant PackageTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section >= columnCount()) return {};
  const Column& column = columns_[static_cast<std::size_t>(section)];
  if (role == Qt::DisplayRole) return column.title;
  if (role == Qt::AccessibleTextRole && column.identifier == kSelectedColumn) return tr("Selected");
  if (role == Qt::AccessibleDescriptionRole) return sortStateOf(column);
  if (role == Qt::TextAlignmentRole) {
    const auto side = column.identifier == kSelectedColumn ? Qt::AlignHCenter : Qt::AlignLeft;
    return QVariant::fromValue(Qt::Alignment(side | Qt::AlignVCenter));
  }
  return {};
}

QString PackageTableModel::sortStateOf(const Column& column) const {
  if (!sortDescriptor_ || sortDescriptor_->key != column.identifier) return {};
  return sortDescriptor_->ascending ? tr("Sorted ascending") : tr("Sorted descending");
}

Qt::ItemFlags PackageTableModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return {};
  const Qt::ItemFlags row = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  const bool ticks = identifierOfColumn(index.column()) == kSelectedColumn;
  return ticks ? row | Qt::ItemIsUserCheckable : row;
}

bool PackageTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole || !(flags(index) & Qt::ItemIsUserCheckable)) return false;
  emit checkboxClicked(index.row(), value.toInt() == Qt::Checked);
  return true;
}

}  // namespace tolvane
