// SPDX-License-Identifier: MIT
#include "ui/widgets/InfoButton.h"

#include <QPainter>
#include <QStyleOptionToolButton>

#include "ui/widgets/SystemColors.h"

namespace tolvane {

InfoButton::InfoButton(QWidget* parent) : QToolButton(parent) {
  setText(QStringLiteral("\u24D8"));
  setAutoRaise(true);
  setFocusPolicy(Qt::StrongFocus);
}

QSize InfoButton::sizeHint() const {
  return {22, 22};
}

void InfoButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  QStyleOptionToolButton option;
  initStyleOption(&option);
  option.text.clear();
  style()->drawComplexControl(QStyle::CC_ToolButton, &option, &painter, this);

  painter.setRenderHint(QPainter::Antialiasing);
  const QPointF center = QRectF(rect()).center();
  const QColor color = secondaryLabelColor(palette());
  painter.setPen(QPen(color, 1.25));
  painter.drawEllipse(center, 7, 7);
  painter.setPen(Qt::NoPen);
  painter.setBrush(color);
  painter.drawEllipse(center + QPointF(0, -3.4), 1.1, 1.1);
  painter.drawRoundedRect(QRectF(center.x() - 0.8, center.y() - 1, 1.6, 5.2), 0.8, 0.8);
}

}  // namespace tolvane
