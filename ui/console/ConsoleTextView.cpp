// SPDX-License-Identifier: MIT
#include "ui/console/ConsoleTextView.h"

#include "ui/widgets/SystemColors.h"

namespace tolvane {

QColor ConsoleTextView::colorOf(const TextLine& line) const {
  return consoleColor(line.type, palette());
}

}  // namespace tolvane
