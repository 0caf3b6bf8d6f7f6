// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

namespace tolvane {

class PackageTableModel;

// Draws the cells of the package table: a tick, one line cut at its end, or the description.
class PackageCellDelegate : public QStyledItemDelegate {
 public:
  PackageCellDelegate(const PackageTableModel& model, QObject* parent);

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override;

 protected:
  // The view handles clicks on ticks, which do not highlight the row.
  bool editorEvent(QEvent*, QAbstractItemModel*, const QStyleOptionViewItem&,
                   const QModelIndex&) override {
    return false;
  }

 private:
  const PackageTableModel& model_;
};

}  // namespace tolvane
