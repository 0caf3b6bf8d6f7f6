// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "app/AppDelegate.h"
#include "app/MainWindow.h"

namespace tolvane {

// Fills the window's menu bar: application, Edit, View, Window and Help. The About item has its
// standard role and no action: the delegate connects it at launch. The Quit item calls `quit`.
void buildMainMenu(MainWindow& window, AppDelegate& delegate, std::function<void()> quit);

}  // namespace tolvane
