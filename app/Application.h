// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

namespace tolvane {

// The program's icon, sharp at every size.
QIcon applicationIcon();

// Runs the program with its window until it quits; returns its exit status. A URL among the
// arguments is put into the window's field, and not fetched.
int runApplication(int argc, char** argv);

}  // namespace tolvane
