// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "tests/cli/CommandResult.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

struct ProgramSettings {
  std::map<std::string, std::string> environment = {};
  // The file for standard output; "" closes it. Without a value, the output is collected.
  std::optional<std::string> outputPath = {};
  bool terminal = false;                    // standard error is a terminal, 200 columns wide
  std::vector<std::string> startedBy = {};  // a command line that starts the program
};

// One run of the built program tolvane-cli. Its environment is that of the test without variables
// that change its behaviour (proxies, certificates, colours). A program that still runs is killed
// in the destructor.
class Program {
 public:
  explicit Program(const std::vector<std::string>& arguments, const ProgramSettings& settings = {});
  ~Program();

  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  void signal(int number) const;

  // Waits for the end; a program that does not end within two minutes is killed, and the test
  // fails.
  CommandResult wait();

 private:
  bool hasEnded();
  void readTerminal();

  TemporaryFolder streams_;
  int terminal_ = -1;  // the side of the terminal that the test reads
  std::string terminalText_;
  pid_t process_ = 0;
  std::optional<int> status_;
};

CommandResult runProgram(const std::vector<std::string>& arguments,
                         const ProgramSettings& settings = {});

// Waits until the condition holds; fails the test when it does not within a minute.
void waitUntil(const std::function<bool()>& condition);

}  // namespace tolvane
