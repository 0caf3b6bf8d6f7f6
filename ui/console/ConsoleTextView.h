// SPDX-License-Identifier: MIT
#pragma once

#include "ui/widgets/LongTextView.h"

namespace tolvane {

// Shows the console's lines, each in the colour of its type.
class ConsoleTextView : public LongTextView {
 public:
  explicit ConsoleTextView(QWidget* parent) : LongTextView(parent) {}

 protected:
  QColor colorOf(const TextLine& line) const override;
};

}  // namespace tolvane
