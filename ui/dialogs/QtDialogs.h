// SPDX-License-Identifier: MIT
#pragma once

#include <QMessageBox>

#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// Puts the alert's texts and buttons into a message box, in their order. Texts are plain, never
// markup.
void fillMessageBox(QMessageBox& box, const Alert& alert);

// The index of the button that was pressed; the last one where the box was closed in another way.
std::size_t answerOf(const QMessageBox& box, const Alert& alert);

// The folder with access to it: an open descriptor, which keeps a file system mounted there busy.
ChosenFolder folderWithAccess(const QString& path);

// Shows a QMessageBox or a QFileDialog, window-modal. The latter is the desktop's own dialog where
// Qt can use it: a sandbox then gives the program access to the folder. It begins in the panel's
// folder, or in the one chosen last, which is kept in the settings.
class QtDialogs : public Dialogs {
 public:
  void beginAlert(QWidget* window, const Alert& alert, Answered answered) override;
  void beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) override;
};

}  // namespace tolvane
