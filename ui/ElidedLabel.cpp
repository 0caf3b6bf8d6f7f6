// SPDX-License-Identifier: MIT
#include "ui/ElidedLabel.h"

#include <QApplication>
#include <QClipboard>
#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QStyle>

namespace tolvane {

namespace {

// Blanks in a row are kept within a line, since they are part of some texts.
QString oneLine(const QString& text) {
  static const QRegularExpression breaks(QStringLiteral("[\\n\\r\\x{2028}\\x{2029}]"));
  if (!text.contains(breaks)) return text;
  QStringList lines = text.split(breaks);
  for (QString& line : lines) line = line.trimmed();
  lines.removeAll(QString());
  return lines.join(QLatin1Char(' '));
}

}  // namespace

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
}

void ElidedLabel::setText(const QString& text) {
  line_ = oneLine(text);
  QLabel::setText(text);
  setAccessibleDescription(text);
  updateToolTip();
}

bool ElidedLabel::isElided() const {
  return fontMetrics().horizontalAdvance(line_) > contentsRect().width();
}

void ElidedLabel::updateToolTip() {
  if (line_ == text() && !isElided()) return setToolTip(QString());
  // A tool tip takes text with angle brackets for markup, unless it is markup.
  const QString lines = text().toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>"));
  setToolTip(QStringLiteral("<p>%1</p>").arg(lines));
}

void ElidedLabel::copy() {
  QApplication::clipboard()->setText(hasSelectedText() ? selectedText() : text());
}

void ElidedLabel::selectAll() {
  setSelection(0, static_cast<int>(text().size()));
}

void ElidedLabel::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return copy();
  if (event->matches(QKeySequence::SelectAll)) return selectAll();
  QLabel::keyPressEvent(event);
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
  if (hasSelectedText()) return QLabel::paintEvent(event);
  QPainter painter(this);
  const QRect rectangle = contentsRect();
  const QString shown = fontMetrics().elidedText(line_, Qt::ElideRight, rectangle.width());
  style()->drawItemText(&painter, rectangle, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                        palette(), isEnabled(), shown, foregroundRole());
}

}  // namespace tolvane
