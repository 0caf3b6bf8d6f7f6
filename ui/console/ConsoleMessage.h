// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <string>

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

}  // namespace tolvane
