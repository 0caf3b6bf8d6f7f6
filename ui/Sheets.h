// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tolvane {

// What an alert says and asks. The first button is the default one.
struct Alert {
  std::string messageText;
  std::string informativeText;
  std::vector<std::string> buttons;
};

// The dialogs that hang on a window and block it alone. Behind an interface, so that a test can
// answer them.
class Sheets {
 public:
  using Answered = std::function<void(std::size_t button)>;

  virtual ~Sheets() = default;

  // Shows the alert and returns. `answered` is called once, on the main thread, with the index of
  // the button; closing the sheet in another way counts as the last one.
  virtual void beginAlert(QWidget* window, const Alert& alert, Answered answered) = 0;
};

}  // namespace tolvane
