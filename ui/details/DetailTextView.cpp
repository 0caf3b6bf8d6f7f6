// SPDX-License-Identifier: MIT
#include "ui/details/DetailTextView.h"

#include <utility>

namespace tolvane {

void DetailTextView::setPlainText(std::string text) {
  setText({});
  lines_.clear();
  plainText_ = std::move(text);
  appendLines(lines_, plainText_, {});
  lines_.back().endsWithNewline = false;
  setText(LongText::ofLines(lines_));
}

}  // namespace tolvane
