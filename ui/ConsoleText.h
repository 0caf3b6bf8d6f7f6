// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

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

// The console's whole text, as a view over all records: making one anew for each message costs
// next to nothing, however many there are. The records outlive it.
class ConsoleText {
 public:
  ConsoleText() = default;

  // A single line in the secondary label colour, which is not a message.
  static ConsoleText notice(const ConsoleMessage& line);

  // The lines of all records, or of those whose type is exactly "error".
  static ConsoleText ofMessages(const ConsoleMessages& messages, bool errorsOnly);

  bool isEmpty() const { return lineCount() == 0; }
  std::size_t lineCount() const { return filtered_ ? kept_.size() : count_; }
  const ConsoleMessage& line(std::size_t index) const;

  // Whether the two show the same records from the first one on, so that a place in one is the
  // same place in the other.
  bool continues(const ConsoleText& other) const;

  // The text from one place to another, each line but the last followed by a newline.
  QString textBetween(std::size_t firstLine, qsizetype firstOffset, std::size_t lastLine,
                      qsizetype lastOffset) const;

  // Every line followed by a newline.
  QString toPlainText() const;

 private:
  const ConsoleMessages* messages_ = nullptr;
  const ConsoleMessage* notice_ = nullptr;
  std::size_t count_ = 0;
  bool filtered_ = false;
  std::vector<std::uint32_t> kept_;  // of the messages, while they are filtered
};

}  // namespace tolvane
