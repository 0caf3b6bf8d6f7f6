// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tolvane {

// An alert with its texts and answers. The first button is the default one.
struct Alert {
  std::string messageText;
  std::string informativeText;
  std::vector<std::string> buttons;
};

// A choice of one folder, which the user may create in the dialog.
struct FolderPanel {
  std::string prompt;  // the title of the button that chooses
  std::string message;
  std::string folder;  // where to begin; "" for where the user was last
};

struct ChosenFolder {
  std::string path;
  // The program has access to the folder for as long as a copy of this lives; null where no access
  // was needed, or none was granted.
  std::shared_ptr<void> access;
};

// The dialogs that block one window. An interface, so that a test can answer them.
class Dialogs {
 public:
  using Answered = std::function<void(std::size_t button)>;
  using FolderChosen = std::function<void(std::optional<ChosenFolder>)>;

  virtual ~Dialogs() = default;

  // Shows the alert and returns. `answered` is called once, on the main thread, with the index of
  // the button; closing the alert in another way counts as the last one.
  virtual void beginAlert(QWidget* window, const Alert& alert, Answered answered) = 0;

  // Shows the panel and returns. `chosen` is called once, on the main thread, with no folder where
  // the user cancelled.
  virtual void beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) = 0;
};

}  // namespace tolvane
