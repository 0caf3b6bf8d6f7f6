// SPDX-License-Identifier: MIT
#include "ui/ElidedLabel.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>

namespace tolvane {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
}

void ElidedLabel::setText(const QString& text) {
  QLabel::setText(text);
  setAccessibleDescription(text);
  updateToolTip();
}

bool ElidedLabel::isElided() const {
  return fontMetrics().horizontalAdvance(text()) > contentsRect().width();
}

void ElidedLabel::updateToolTip() {
  // A tool tip takes text with angle brackets for markup, unless it is markup.
  setToolTip(isElided() ? QStringLiteral("<p>%1</p>").arg(text().toHtmlEscaped()) : QString());
}

void ElidedLabel::changeEvent(QEvent* event) {
  QLabel::changeEvent(event);
  if (event->type() == QEvent::FontChange) updateToolTip();
}

void ElidedLabel::resizeEvent(QResizeEvent* event) {
  QLabel::resizeEvent(event);
  updateToolTip();
}

void ElidedLabel::paintEvent(QPaintEvent* event) {
  if (!isElided() || hasSelectedText()) return QLabel::paintEvent(event);
  QPainter painter(this);
  const QRect rectangle = contentsRect();
  const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, rectangle.width());
  style()->drawItemText(&painter, rectangle, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                        palette(), isEnabled(), shown, foregroundRole());
}

}  // namespace tolvane
