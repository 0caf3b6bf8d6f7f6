// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace tolvane {

// Collects what the whole process reports while the recorder lives: the messages of the log bus
// and the lines of the system log. Any thread.
class LogRecorder {
 public:
  LogRecorder();
  ~LogRecorder();

  LogRecorder(const LogRecorder&) = delete;
  LogRecorder& operator=(const LogRecorder&) = delete;

  // All that was reported, in order: the log bus's messages, each as "type: text" ("info: Done"),
  // and the system log's lines. The lines in which the log bus repeats its messages in the system
  // log are left out.
  std::vector<std::string> reports() const;

  // Of these, the messages of the log bus alone, and the lines of the system log alone.
  std::vector<std::string> messages() const;
  std::vector<std::string> lines() const;

  // Every line of the system log, those of the log bus included.
  std::vector<std::string> allLines() const;

 private:
  enum class Kind { message, line, repeatedLine };

  std::vector<std::string> textsOf(std::initializer_list<Kind> kinds) const;

  struct Record;
  std::shared_ptr<Record> record_;  // an observer may still be running when the recorder goes
  std::shared_ptr<void> messageToken_;
  std::shared_ptr<void> lineToken_;
};

}  // namespace tolvane
