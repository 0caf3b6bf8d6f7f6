// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "ui/widgets/LongTextView.h"

namespace tolvane {

// Plain text to read, select and copy.
class DetailTextView : public LongTextView {
 public:
  explicit DetailTextView(QWidget* parent) : LongTextView(parent) {}

  void setPlainText(std::string text);

 private:
  std::string plainText_;
  TextLines lines_;
};

}  // namespace tolvane
