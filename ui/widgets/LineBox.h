// SPDX-License-Identifier: MIT
#pragma once

#include <QFrame>

namespace tolvane {

// A box with a thin border that is visible in every theme.
class LineBox : public QFrame {
 public:
  explicit LineBox(QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace tolvane
