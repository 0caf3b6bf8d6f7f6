// SPDX-License-Identifier: MIT
#include "ui/packages/PackageCellDelegate.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>

#include "ui/Strings.h"
#include "ui/packages/DescriptionText.h"
#include "ui/packages/PackageTableModel.h"
#include "ui/packages/PackageTexts.h"
#include "ui/widgets/CheckBox.h"

namespace tolvane {

namespace {

// Characters. A cell shows no more, however wide its column, so that the cost of painting it does
// not grow with its text.
constexpr qsizetype kLongestLine = 2000;

QStyle* styleOf(const QStyleOptionViewItem& option) {
  return option.widget != nullptr ? option.widget->style() : QApplication::style();
}

QColor textColor(const QStyleOptionViewItem& option) {
  QPalette::ColorGroup group = QPalette::Disabled;
  if (option.state & QStyle::State_Enabled) {
    group = option.state & QStyle::State_Active ? QPalette::Active : QPalette::Inactive;
  }
  const bool highlighted = option.state & QStyle::State_Selected;
  return option.palette.color(group, highlighted ? QPalette::HighlightedText : QPalette::Text);
}

// The first lines of all cells of a row share a base line.
QRect textRectangle(const QStyleOptionViewItem& option) {
  const bool oneLine = option.rect.height() <= kBaseRowHeight;
  const int margin =
      oneLine ? (option.rect.height() - option.fontMetrics.height()) / 2 : kRowPadding / 2;
  return option.rect.adjusted(kCellPadding / 2, margin, -kCellPadding / 2, 0);
}

void drawTick(QPainter* painter, const QStyleOptionViewItem& option, bool on) {
  QStyleOptionViewItem tick = option;
  QStyle* const style = styleOf(option);
  const QSize size(style->pixelMetric(QStyle::PM_IndicatorWidth, &option, option.widget),
                   style->pixelMetric(QStyle::PM_IndicatorHeight, &option, option.widget));
  QRect firstLine = option.rect;
  firstLine.setHeight(qMin(firstLine.height(), kBaseRowHeight));
  tick.rect = QStyle::alignedRect(option.direction, Qt::AlignCenter, size, firstLine);
  tick.state &= ~(QStyle::State_On | QStyle::State_Off | QStyle::State_HasFocus);
  tick.state |= on ? QStyle::State_On : QStyle::State_Off;
  style->drawPrimitive(QStyle::PE_IndicatorItemViewItemCheck, &tick, painter, option.widget);
  drawIndicatorEdge(*painter, tick.rect, option.palette);
}

void drawLine(QPainter* painter, const QRect& rectangle, const QString& text) {
  QString line = text.left(kLongestLine);
  line.replace(QLatin1Char('\n'), QLatin1Char(' '));
  const QString shown = painter->fontMetrics().elidedText(line, Qt::ElideRight, rectangle.width());
  painter->drawText(rectangle, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, shown);
}

}  // namespace

PackageCellDelegate::PackageCellDelegate(const PackageTableModel& model, QObject* parent)
    : QStyledItemDelegate(parent), model_(model) {}

void PackageCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const {
  const PackageEntry* const package = model_.packageAt(index.row());
  if (package == nullptr) return;
  const std::string& identifier = model_.identifierOfColumn(index.column());
  styleOf(option)->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);
  if (identifier == kSelectedColumn) {
    drawTick(painter, option, index.data(Qt::CheckStateRole).toInt() == Qt::Checked);
    return;
  }
  painter->save();
  painter->setClipRect(option.rect);
  painter->setFont(option.font);
  painter->setPen(textColor(option));
  const QRect rectangle = textRectangle(option);
  if (identifier == kDescriptionColumn) {
    DescriptionText::draw(*painter, rectangle, package->packageDescription());
  } else {
    drawLine(painter, rectangle, index.data(Qt::DisplayRole).toString());
  }
  painter->restore();
}

}  // namespace tolvane
