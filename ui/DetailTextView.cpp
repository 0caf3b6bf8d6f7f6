// SPDX-License-Identifier: MIT
#include "ui/DetailTextView.h"

#include <QTextDocument>

namespace tolvane {

namespace {

constexpr int kInsetBesideText = 8;
constexpr int kInsetAboveText = 6;

}  // namespace

DetailTextView::DetailTextView(QWidget* parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setBackgroundRole(QPalette::Base);
  setAutoFillBackground(true);
  // The document has one margin for all sides; the viewport adds what is missing.
  const int margin = static_cast<int>(document()->documentMargin());
  const int beside = kInsetBesideText - margin;
  const int above = kInsetAboveText - margin;
  setViewportMargins(beside, above, beside, above);
}

}  // namespace tolvane
