// SPDX-License-Identifier: MIT
#include "ui/widgets/LineBox.h"

#include <QPainter>

#include "ui/widgets/SystemColors.h"

namespace tolvane {

namespace {

constexpr double kCornerRadius = 5;

}  // namespace

LineBox::LineBox(QWidget* parent) : QFrame(parent) {
  setFrameStyle(Box | Plain);
}

void LineBox::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(separatorColor(palette()));
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius,
                          kCornerRadius);
}

}  // namespace tolvane
