// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>
#include <QPainter>

namespace tolvane {

// A checkbox whose box is visible in dark themes too: some styles draw its edge darker than the
// background.
class CheckBox : public QCheckBox {
 public:
  explicit CheckBox(QWidget* parent) : QCheckBox(parent) {}

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// In a dark theme, the edge of a checkbox whose style has drawn itself into the rectangle.
void drawIndicatorEdge(QPainter& painter, const QRect& indicator, const QPalette& palette);

}  // namespace tolvane
