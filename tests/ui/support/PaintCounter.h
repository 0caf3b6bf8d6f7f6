// SPDX-License-Identifier: MIT
#pragma once

#include <QEvent>
#include <QWidget>

namespace tolvane {

// Counts how often a widget is drawn.
class PaintCounter : public QObject {
 public:
  explicit PaintCounter(QWidget& widget) { widget.installEventFilter(this); }

  int paints = 0;

 protected:
  bool eventFilter(QObject* /*object*/, QEvent* event) override {
    if (event->type() == QEvent::Paint) ++paints;
    return false;
  }
};

}  // namespace tolvane
