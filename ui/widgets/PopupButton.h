// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

namespace tolvane {

// A choice of one among a few titles. Screen readers are told its accessible name and, as its
// description, the choice; the toolkit's own gives the choice for a name.
class PopupButton : public QComboBox {
  Q_OBJECT

 public:
  explicit PopupButton(QWidget* parent);
};

}  // namespace tolvane
