// SPDX-License-Identifier: MIT
#include "ui/widgets/PopupButton.h"

#include "ui/widgets/AccessibleViews.h"

namespace tolvane {

PopupButton::PopupButton(QWidget* parent) : QComboBox(parent) {
  installAccessibleViews();
}

}  // namespace tolvane
