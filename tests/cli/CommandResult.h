// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// What a command, or the program, left behind.
struct CommandResult {
  int status = 0;  // the exit status; the negative number of the signal that ended the program
  std::string output;
  std::string errorOutput;
};

// The texts of the console's lines that begin with "[HH:mm:ss] ", and the lines behind the last of
// them, which have no time. Any other order of the two fails the test.
std::vector<std::string> consoleMessages(const std::string& errorOutput);
std::vector<std::string> plainLines(const std::string& errorOutput);

std::vector<std::string> linesOf(const std::string& text);

}  // namespace tolvane
