// SPDX-License-Identifier: MIT
#include "ui/packages/DescriptionText.h"

#include <QTextLayout>
#include <QTextOption>
#include <algorithm>
#include <cmath>

#include "ui/Strings.h"

namespace tolvane {

namespace {

constexpr std::size_t kFirstPrefix = 1024;
// A text whose first characters take no room up to here has no width at all.
constexpr std::size_t kLongestPrefix = 64 * kFirstPrefix;
constexpr double kNarrowestText = 80;

double layOut(QTextLayout& layout, double width, double limit) {
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  layout.setTextOption(option);
  layout.beginLayout();
  double height = 0;
  while (height <= limit) {
    QTextLine line = layout.createLine();
    if (!line.isValid()) break;
    line.setLeadingIncluded(true);
    line.setLineWidth(width);
    line.setPosition({0, height});
    height += line.height();
  }
  layout.endLayout();
  return height;
}

// Lays out ever longer prefixes of the text until one is taller than the limit or is the whole
// text: what follows cannot change the lines above.
double layOutEnough(QTextLayout& layout, std::string_view text, double width, double limit) {
  for (std::size_t length = kFirstPrefix;; length *= 4) {
    const std::string_view prefix = prefixOf(text, length);
    QString string = toQString(prefix);
    string.replace(QLatin1Char('\n'), QChar::LineSeparator);
    layout.setText(string);
    const double height = layOut(layout, width, limit);
    if (height > limit || prefix.size() == text.size() || length >= kLongestPrefix) return height;
  }
}

}  // namespace

double DescriptionText::height(std::string_view description, const QFont& font, double width,
                               double limit) {
  QTextLayout layout(QString(), font);
  return layOutEnough(layout, description, width, limit);
}

void DescriptionText::draw(QPainter& painter, const QRectF& rectangle,
                           std::string_view description) {
  QTextLayout layout(QString(), painter.font(), painter.device());
  layOutEnough(layout, description, rectangle.width(), rectangle.height());
  for (int i = 0; i < layout.lineCount(); ++i) {
    const QTextLine line = layout.lineAt(i);
    if (line.y() + line.height() > rectangle.height() + 1) break;
    line.draw(&painter, rectangle.topLeft());
  }
}

int rowHeightForDescription(std::string_view description, int columnWidth, const QFont& font) {
  if (description.empty()) return kBaseRowHeight;
  const double width = std::max<double>(columnWidth - kCellPadding, kNarrowestText);
  const double limit = kTallestRow - kRowPadding;
  const double height = DescriptionText::height(description, font, width, limit);
  return std::clamp(static_cast<int>(std::ceil(height)) + kRowPadding, kBaseRowHeight, kTallestRow);
}

}  // namespace tolvane
