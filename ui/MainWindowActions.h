// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <vector>

namespace tolvane {

// What keys and menus offer beside the controls.
struct MainWindowActions {
  QAction* focusURL = nullptr;     // Ctrl+L
  QAction* focusSearch = nullptr;  // Ctrl+F
  QAction* fetch = nullptr;        // F5
  std::vector<QAction*> sort;      // one a column that can be sorted by
};

}  // namespace tolvane
