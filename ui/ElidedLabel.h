// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

namespace tolvane {

// One line of plain text. What does not fit ends in an ellipsis, and the whole is in the tool tip;
// while part of it is selected, the line is shown as it stands. A screen reader is told the
// label's accessible name and, as its description, the text.
class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent);

  void setText(const QString& text);

  // Whether the text is longer than the label.
  bool isElided() const;

 protected:
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void updateToolTip();
};

}  // namespace tolvane
