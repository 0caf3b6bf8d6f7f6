// SPDX-License-Identifier: MIT
#pragma once

#include <QPlainTextEdit>

namespace tolvane {

// Plain text to read, select and copy, with some room around it.
class DetailTextView : public QPlainTextEdit {
 public:
  explicit DetailTextView(QWidget* parent);
};

}  // namespace tolvane
