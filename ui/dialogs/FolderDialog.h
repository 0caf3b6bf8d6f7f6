// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

#include "ui/dialogs/Dialogs.h"

namespace tolvane {

// A folder panel as a window-modal dialog of the toolkit, which is the desktop's own where it has
// one: a sandbox then opens the folder for the program. It begins in the panel's folder, or where
// the user was last, which is kept in the settings.
void openFolderDialog(QWidget* window, const FolderPanel& panel, Dialogs::FolderChosen chosen);

// The folder with access to it: an open descriptor, which keeps what is mounted there from going.
ChosenFolder folderWithAccess(const QString& path);

}  // namespace tolvane
