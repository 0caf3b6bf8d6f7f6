// SPDX-License-Identifier: MIT
#pragma once

#include <QToolButton>

namespace tolvane {

// A button whose title is an "i" in a circle. It draws the sign itself: many fonts lack it.
class InfoButton : public QToolButton {
 public:
  explicit InfoButton(QWidget* parent);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace tolvane
