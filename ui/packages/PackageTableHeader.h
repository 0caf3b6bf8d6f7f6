// SPDX-License-Identifier: MIT
#pragma once

#include <QHeaderView>

namespace tolvane {

// The header of the package table: its titles stand above the texts of their columns.
class PackageTableHeader : public QHeaderView {
 public:
  explicit PackageTableHeader(QWidget* parent);
};

}  // namespace tolvane
