// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "app/AppDelegate.h"
#include "app/MainWindow.h"

namespace tolvane {

// Fills the window's menu bar: application, Edit, View, Window and Help. The About item has its
// standard role and no action of its own: the delegate gives it one at launch. `quit` is what the
// Quit item does.
void buildMainMenu(MainWindow& window, AppDelegate& delegate, std::function<void()> quit);

}  // namespace tolvane
