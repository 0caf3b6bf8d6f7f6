// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>
#include <QWidget>
#include <vector>

namespace tolvane {

// The desktop's font in another size, in pixels.
QFont systemFont(int size, bool bold = false);

struct FixedTitle {
  QWidget* widget = nullptr;
  int width = 0;  // in pixels, fixed by the layout
};

// Gives all of the widgets the font, made smaller until each title fits into its width: the layout
// is fixed, but the desktop's font is not.
void fitTitles(const std::vector<FixedTitle>& titles, QFont font);

}  // namespace tolvane
