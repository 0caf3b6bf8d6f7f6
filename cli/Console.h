// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>

#include "model/CrawlerLogger.h"

namespace tolvane {

// What standard error can show.
struct ConsoleSettings {
  bool color = false;         // lines are coloured by their type
  bool statusLine = false;    // a line that is rewritten in place can be shown
  std::size_t columns = 80;   // of the status line
  bool warningsOnly = false;  // neither "info" nor "success"
};

// The messages of a run, one line each, "[HH:mm:ss] text", with a status line below them where the
// terminal can show one. Every member may be called on any thread.
class Console {
 public:
  // The stream must live as long as the console.
  Console(std::ostream& stream, ConsoleSettings settings);
  ~Console();  // clears the status line

  // `typeText` is one of the log bus's; any other is shown like "info".
  void append(std::string_view message, std::string_view typeText);

  // From now on leaves out messages of the log bus that end with this text; "" ends that.
  void leaveOut(std::string ending);

  // A line as it is, without time and colour, also where only warnings are shown: what a run ends
  // with.
  void appendPlain(std::string_view line);

  // Shows the text (ASCII), cut to the terminal's width, under the messages until it is replaced or
  // cleared.
  void showStatus(std::string_view text);
  void clearStatus();

  const ConsoleSettings& settings() const { return settings_; }

 private:
  friend NotificationCenter::Token showLogBus(std::shared_ptr<Console> console);

  void appendLogged(const CrawlerMessage& message);
  void write(const std::string& lines);

  std::mutex mutex_;
  std::ostream& stream_;
  const ConsoleSettings settings_;
  std::string status_;
  std::string leftOut_;
};

// Appends every message of the log bus to the console, as long as the token lives.
[[nodiscard]] NotificationCenter::Token showLogBus(std::shared_ptr<Console> console);

}  // namespace tolvane
