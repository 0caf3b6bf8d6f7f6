// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>
#include <QLabel>

#include "ui/widgets/Fonts.h"

namespace tolvane {

// Font sizes in pixels.
inline constexpr int kCaptionFontSize = 10;  // of the captions under buttons
inline constexpr int kBoxFontSize = 12;      // of a box's title, and of what is in it

// The parent owns the control, whose object name is its name in the window's table of controls.
template <typename Widget>
Widget* makeControl(const char* name, QWidget* parent) {
  auto* const control = new Widget(parent);
  control->setObjectName(QLatin1String(name));
  return control;
}

inline QLabel* makeLabel(const char* name, const char* text, const QFont& font, QWidget* parent) {
  auto* const label = makeControl<QLabel>(name, parent);
  label->setTextFormat(Qt::PlainText);
  label->setText(QLatin1String(text));
  label->setFont(font);
  return label;
}

inline QLabel* makeBoxTitle(const char* name, const char* text, QWidget* box) {
  return makeLabel(name, text, systemFont(kBoxFontSize, true), box);
}

// The frame around a view that scrolls by itself.
inline QFrame* makeScrollView(const char* name, QWidget* parent) {
  auto* const frame = makeControl<QFrame>(name, parent);
  frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  return frame;
}

}  // namespace tolvane
