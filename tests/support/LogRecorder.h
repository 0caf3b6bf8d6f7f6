// SPDX-License-Identifier: MIT
#pragma once

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

  // The log bus's messages in order, each as "type: text", for instance "info: Done".
  std::vector<std::string> messages() const;

  // The system log's lines in order. The lines in which the log bus repeats its messages there are
  // left out: messages() has them.
  std::vector<std::string> lines() const;

  // Every line of the system log, those of the log bus included.
  std::vector<std::string> allLines() const;

 private:
  struct Record;
  std::shared_ptr<Record> record_;  // an observer may still be running when the recorder goes
  std::shared_ptr<void> messageToken_;
  std::shared_ptr<void> lineToken_;
};

}  // namespace tolvane
