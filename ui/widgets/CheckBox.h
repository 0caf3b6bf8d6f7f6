// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>
#include <QPainter>

namespace tolvane {

// A checkbox whose box can be seen in dark themes too: some styles draw its edge darker than its
// ground, where nothing can be darker.
class CheckBox : public QCheckBox {
 public:
  explicit CheckBox(QWidget* parent) : QCheckBox(parent) {}

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// In a dark theme, the edge of a checkbox whose style has drawn itself into the rectangle.
void drawIndicatorEdge(QPainter& painter, const QRect& indicator, const QPalette& palette);

}  // namespace tolvane
