// SPDX-License-Identifier: MIT
#pragma once

#include <QAction>
#include <vector>

#include "ui/console/ConsolePane.h"
#include "ui/details/DetailsPane.h"
#include "ui/packages/PackagesPane.h"
#include "ui/repository_bar/RepositoryBar.h"

namespace tolvane {

// Every control of the main window under its name, which is its object name too. The panes make
// them once, and never replace them; the window owns them.
struct MainWindowControls : RepositoryBarControls,
                            PackagesControls,
                            DetailsControls,
                            ConsoleControls {};

// What keys and menus offer in addition to the controls.
struct MainWindowActions {
  QAction* focusURL = nullptr;     // Ctrl+L
  QAction* focusSearch = nullptr;  // Ctrl+F
  QAction* fetch = nullptr;        // F5
  std::vector<QAction*> sort;      // one a column that can be sorted by
};

}  // namespace tolvane
