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

// What an alert says and asks. The first button is the default one.
struct Alert {
  std::string messageText;
  std::string informativeText;
  std::vector<std::string> buttons;
};

// A choice of one folder, which may be made on the spot.
struct FolderPanel {
  std::string prompt;  // the title of the button that chooses
  std::string message;
  std::string folder;  // where to begin; "" for where the user was last
};

struct ChosenFolder {
  std::string path;
  // The folder can be reached for as long as a copy of this lives; none where access had not to, or
  // could not, be had.
  std::shared_ptr<void> access;
};

// The dialogs that hang on a window and block it alone. Behind an interface, so that a test can
// answer them.
class Dialogs {
 public:
  using Answered = std::function<void(std::size_t button)>;
  using FolderChosen = std::function<void(std::optional<ChosenFolder>)>;

  virtual ~Dialogs() = default;

  // Shows the alert and returns. `answered` is called once, on the main thread, with the index of
  // the button; closing the sheet in another way counts as the last one.
  virtual void beginAlert(QWidget* window, const Alert& alert, Answered answered) = 0;

  // Shows the panel and returns. `chosen` is called once, on the main thread, with no folder where
  // the user cancelled.
  virtual void beginFolderPanel(QWidget* window, const FolderPanel& panel, FolderChosen chosen) = 0;
};

}  // namespace tolvane
