// SPDX-License-Identifier: MIT
#pragma once

#include <QLineEdit>

namespace tolvane {

// The query of a search. Escape clears it.
class SearchField : public QLineEdit {
  Q_OBJECT

 public:
  explicit SearchField(QWidget* parent);

  // Empties the field without a search.
  void empty();

 signals:
  // The user, or a program on the user's behalf, has changed the text or asked for a search.
  void searchRequested();
  void focused();

 protected:
  void changeEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void drawLens();

  QAction* lens_ = nullptr;
  bool emptying_ = false;
};

}  // namespace tolvane
