// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>

namespace tolvane {

// The program's icon, sharp at every size.
QIcon applicationIcon();

// Runs the program with its window until it quits; returns its exit status.
int runApplication(int argc, char** argv);

}  // namespace tolvane
