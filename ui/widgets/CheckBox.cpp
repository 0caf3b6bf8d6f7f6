// SPDX-License-Identifier: MIT
#include "ui/widgets/CheckBox.h"

#include <QStyleOptionButton>

#include "ui/widgets/SystemColors.h"

namespace tolvane {

void CheckBox::paintEvent(QPaintEvent* event) {
  QCheckBox::paintEvent(event);
  QStyleOptionButton option;
  initStyleOption(&option);
  QPainter painter(this);
  if (!isEnabled()) painter.setOpacity(0.5);
  drawIndicatorEdge(painter, style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this),
                    palette());
}

void drawIndicatorEdge(QPainter& painter, const QRect& indicator, const QPalette& palette) {
  constexpr double kCornerRadius = 2;
  if (!isDark(palette)) return;
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(secondaryLabelColor(palette));
  painter.drawRoundedRect(QRectF(indicator).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius,
                          kCornerRadius);
  painter.restore();
}

}  // namespace tolvane
