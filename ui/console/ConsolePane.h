// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>
#include <deque>
#include <string>
#include <string_view>

#include "ui/widgets/LineBox.h"
#include "ui/widgets/LongTextView.h"
#include "ui/widgets/PopupButton.h"

namespace tolvane {

// One record of the console: the line as it is shown, time stamp included, and its type ("info",
// "success", "warning", "error" or any other text, which is shown like "info").
struct ConsoleMessage {
  std::string message;
  std::string type;

  bool operator==(const ConsoleMessage&) const = default;
};

// Oldest first. Records stay at their address when others are appended.
using ConsoleMessages = std::deque<ConsoleMessage>;

struct ConsoleControls {
  LineBox* consoleBox = nullptr;
  QLabel* consoleTitleLabel = nullptr;
  PopupButton* consoleFilterPopup = nullptr;
  LongTextView* consoleTextView = nullptr;
  QFrame* consoleScrollView = nullptr;
};

// The bottom right of the window: all messages since it was opened, or only the errors.
class ConsolePane {
 public:
  // Makes its controls on the window's content, which owns them and destroys them before the pane
  // is destroyed: they show texts that the pane holds.
  explicit ConsolePane(QWidget* content);

  const ConsoleControls& controls() const { return controls_; }
  const ConsoleMessages& messages() const { return messages_; }

  // Records the text with the local time, and shows it.
  void append(std::string_view text, std::string_view type);

  // Shows all records that pass the filter, or a placeholder, and scrolls to the end.
  void refresh();

 private:
  ConsoleControls controls_;
  ConsoleMessages messages_;
  TextLines lines_;       // of all messages
  TextLines errorLines_;  // of the errors
};

}  // namespace tolvane
