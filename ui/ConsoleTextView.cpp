// SPDX-License-Identifier: MIT
#include "ui/ConsoleTextView.h"

#include "ui/SystemColors.h"

namespace tolvane {

QColor ConsoleTextView::colorOf(const TextLine& line) const {
  return consoleColor(line.type, palette());
}

}  // namespace tolvane
