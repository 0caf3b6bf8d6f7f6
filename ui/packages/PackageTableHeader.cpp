// SPDX-License-Identifier: MIT
#include "ui/packages/PackageTableHeader.h"

#include <QProxyStyle>

#include "ui/packages/DescriptionText.h"

namespace tolvane {

namespace {

class HeaderStyle : public QProxyStyle {
 public:
  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    if (metric == PM_HeaderMargin) return kCellPadding / 2;
    return QProxyStyle::pixelMetric(metric, option, widget);
  }
};

}  // namespace

PackageTableHeader::PackageTableHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
  auto* const style = new HeaderStyle;
  style->setParent(this);
  setStyle(style);
  setHighlightSections(false);
  setSectionsClickable(true);
  setSortIndicator(-1, Qt::AscendingOrder);
  setSortIndicatorShown(true);
}

}  // namespace tolvane
