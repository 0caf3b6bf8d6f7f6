// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace tolvane {

// Records the messages of the log bus and the lines of the system log, of the whole process, for as
// long as it lives. Any thread.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();

  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  // Messages and lines in their order, a message as "type: text" ("info: Done"). Without the lines
  // in which the log bus repeats its messages in the system log.
  std::vector<std::string> reports() const;

  // Only the messages, and only the lines.
  std::vector<std::string> messages() const;
  std::vector<std::string> lines() const;

  // All lines, also those that repeat messages.
  std::vector<std::string> allLines() const;

 private:
  enum class Kind { message, line, repeatedLine };

  std::vector<std::string> textsOf(std::initializer_list<Kind> kinds) const;

  struct Record;
  std::shared_ptr<Record> record_;  // an observer may still be running after the destructor
  std::shared_ptr<void> messageToken_;
  std::shared_ptr<void> lineToken_;
};

}  // namespace tolvane
