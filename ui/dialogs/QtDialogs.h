// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>

#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// Puts the alert's texts and buttons into a message box, in their order. Texts are shown as they
// stand, never as markup.
void fillMessageBox(QMessageBox& box, const Alert& alert);

// The index of the button that was pressed; the last one where the box was closed in another way.
std::size_t answerOf(const QMessageBox& box, const Alert& alert);

// Dialogs as window-modal dialogs of the toolkit.
class QtDialogs : public Dialogs {
 public:
  void beginAlert(QWidget* window, const Alert& alert, Answered answered) override;
  void beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) override;
};

}  // namespace tolvane
