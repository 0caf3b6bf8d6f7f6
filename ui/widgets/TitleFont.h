// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QWidget>
#include <vector>

namespace tolvane {

struct FixedTitle {
  QWidget* widget = nullptr;
  int width = 0;  // that its frame gives it
};

// Gives all of the widgets the font, made smaller until each title fits into its width: frames are
// fixed, but the desktop's font is not.
void fitTitles(const std::vector<FixedTitle>& titles, QFont font);

}  // namespace tolvane
