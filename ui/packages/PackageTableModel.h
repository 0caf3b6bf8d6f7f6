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

// The controller's packages as rows, one column an identifier. Nothing is kept a row: every text is
// read from its package when it is asked for.
class PackageTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  // Both lists belong to the controller and outlive the model.
  PackageTableModel(const std::vector<PackageEntry>& packages, const TickedPackages& tickedKeys,
                    QObject* parent);

  void addColumn(std::string_view identifier, const QString& title);

  // -1 where there is no such column.
  int columnWithIdentifier(std::string_view identifier) const;
  const std::string& identifierOfColumn(int column) const;
  bool isSortable(int column) const;

  // No package where the row is not one of the table's.
  const PackageEntry* packageAt(int row) const;

  // The list of packages has changed.
  void reload();
  // The ticks have changed, the packages have not.
  void reloadTicks();

  // The order that the rows are in, for screen readers; none where it is no column's.
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

  const std::vector<PackageEntry>& packages_;
  const TickedPackages& tickedKeys_;
  std::vector<Column> columns_;
  std::optional<SortDescriptor> sortDescriptor_;
  int rowCount_ = 0;  // as of the last reload, which is what the view knows
};

}  // namespace tolvane
