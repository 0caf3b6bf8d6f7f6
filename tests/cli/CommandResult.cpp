// SPDX-License-Identifier: MIT
#include "tests/cli/CommandResult.h"

#include <gtest/gtest.h>
#include <regex>
#include <sstream>

namespace tolvane {

std::vector<std::string> consoleMessages(const std::string& errorOutput) {
  static const std::regex pattern("\\[[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\] (.*)");
  std::vector<std::string> messages;
  for (const std::string& line : linesOf(errorOutput)) {
    std::smatch match;
    if (std::regex_match(line, match, pattern)) {
      messages.push_back(match[1]);
    } else {
      ADD_FAILURE() << "not a line of the console: " << line;
    }
  }
  return messages;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace tolvane
