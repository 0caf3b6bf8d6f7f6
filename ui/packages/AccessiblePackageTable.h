// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessible>

namespace tolvane {

class PackageTableView;

// What screen readers are told of the package table. Beside what the toolkit tells of any table: a
// tick can be toggled, and a column's header pressed, which sorts by it.
QAccessibleInterface* makeAccessiblePackageTable(PackageTableView* view);

}  // namespace tolvane
