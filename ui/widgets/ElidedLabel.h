// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>

namespace tolvane {

// Plain text on one line: a line break is shown as a blank, and what does not fit ends in an
// ellipsis; the whole is in the tool tip then. While part of it is selected, the text is shown
// unchanged. To a screen reader the text is the description of the label.
class ElidedLabel : public QLabel {
  Q_OBJECT

 public:
  explicit ElidedLabel(QWidget* parent);

  void setText(const QString& text);

  // Whether the text is longer than the label.
  bool isElided() const;

 public slots:
  // Copies what is selected, or all of it.
  void copy();
  void selectAll();

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  QString line_;  // the text as it is shown
};

}  // namespace tolvane
