// SPDX-License-Identifier: MIT
#include "ui/widgets/ElidedLabel.h"

#include <QApplication>
#include <QClipboard>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

namespace tolvane {

namespace {

bool isLineBreak(QChar character) {
  return character == QLatin1Char('\n') || character == QLatin1Char('\r') ||
         character == QChar::LineSeparator || character == QChar::ParagraphSeparator;
}

// Blanks in a row are kept within a line, since they are part of some texts.
QString oneLine(QString text) {
  if (std::none_of(text.cbegin(), text.cend(), isLineBreak)) return text;
  std::replace_if(text.begin(), text.end(), isLineBreak, QLatin1Char('\n'));
  QStringList lines = text.split(QLatin1Char('\n'));
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
  setToolTip(text);
}

bool ElidedLabel::isElided() const {
  return fontMetrics().horizontalAdvance(line_) > contentsRect().width();
}

void ElidedLabel::copy() {
  QApplication::clipboard()->setText(hasSelectedText() ? selectedText() : text());
}

void ElidedLabel::selectAll() {
  setSelection(0, static_cast<int>(text().size()));
}

// The tool tip shows only where the label does not show all of its text. That is measured only
// then, since a busy run changes the text thousands of times.
bool ElidedLabel::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QLabel::event(event);
  const bool helps = line_ != text() || isElided();
  event->setAccepted(helps);
  if (helps) {
    // QToolTip takes a plain text with angle brackets for markup.
    const QString lines =
        toolTip().toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>"));
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(),
                       QStringLiteral("<p>%1</p>").arg(lines), this);
  }
  return true;
}

void ElidedLabel::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return copy();
  if (event->matches(QKeySequence::SelectAll)) return selectAll();
  QLabel::keyPressEvent(event);
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
