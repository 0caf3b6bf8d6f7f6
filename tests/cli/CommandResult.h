// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// The result of a run, in this process or as a program.
struct CommandResult {
  int status = 0;  // the exit status; the negative number of the signal that ended the program
  std::string output;
  std::string errorOutput;
};

// consoleMessages() gives the lines that begin with "[HH:mm:ss] ", without that; plainLines() the
// lines after them, which have no time. Any other order of the two fails the test.
std::vector<std::string> consoleMessages(const std::string& errorOutput);
std::vector<std::string> plainLines(const std::string& errorOutput);

std::vector<std::string> linesOf(const std::string& text);

}  // namespace tolvane
