// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

namespace tolvane {

// A choice of one among a few titles. To a screen reader the choice is its description; with
// QComboBox it takes the place of the accessible name.
class PopupButton : public QComboBox {
  Q_OBJECT

 public:
  explicit PopupButton(QWidget* parent);
};

}  // namespace tolvane
