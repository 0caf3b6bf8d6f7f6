// SPDX-License-Identifier: MIT
#include "ui/PopupButton.h"

#include "ui/AccessibleViews.h"

namespace tolvane {

PopupButton::PopupButton(QWidget* parent) : QComboBox(parent) {
  installAccessibleViews();
}

}  // namespace tolvane
