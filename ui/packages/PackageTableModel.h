// SPDX-License-Identifier: MIT
#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"
#include "ui/packages/PackageSorting.h"
#include "ui/packages/TickedPackages.h"

namespace tolvane {

// The rows of the table and their ticks, one column an identifier. Each text is read from its
// package when it is asked for.
class PackageTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  using PackageList = std::vector<PackageEntry>;

  explicit PackageTableModel(QObject* parent) : QAbstractTableModel(parent) {}

  const PackageList& rows() const { return rows_; }
  const TickedPackages& tickedPackages() const { return ticked_; }

  // Other rows, none of them ticked, in the order of no column.
  void setRows(PackageList rows);
  // The same rows in another order; ticks stay.
  void reorderRows(PackageList rows);

  // The ticks may be those of packages that are no rows now.
  void setTicked(const PackageEntry& package, bool ticked);
  void tickAllRows();
  void untickAll();

  void addColumn(std::string_view identifier, const QString& title);

  // -1 where there is no such column.
  int columnWithIdentifier(std::string_view identifier) const;
  const std::string& identifierOfColumn(int column) const;
  bool isSortable(int column) const;

  // Null where there is no such row.
  const PackageEntry* packageAt(int row) const;

  // The order that the rows are in, which screen readers read out; none where it is no column's.
  void setSortDescriptor(const std::optional<SortDescriptor>& descriptor);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  // A check state only, and only for the column of the ticks: emits checkboxClicked().
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;

 signals:
  void checkboxClicked(int row, bool on);

 private:
  struct Column {
    std::string identifier;
    QString title;
  };

  QVariant tickData(const PackageEntry& package, int role) const;
  QString sortStateOf(const Column& column) const;

  void ticksDidChange();

  PackageList rows_;
  TickedPackages ticked_;
  std::vector<Column> columns_;
  std::optional<SortDescriptor> sortDescriptor_;
};

}  // namespace tolvane
