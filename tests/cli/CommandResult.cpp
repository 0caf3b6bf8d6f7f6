// SPDX-License-Identifier: MIT
#include "tests/cli/CommandResult.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string_view>

namespace tolvane {

namespace {

// The start of a console line; "0" means any digit.
constexpr std::string_view kStamp = "[00:00:00] ";

bool isStamped(std::string_view line) {
  return line.size() >= kStamp.size() &&
         std::equal(kStamp.begin(), kStamp.end(), line.begin(), [](char wanted, char given) {
           return wanted == '0' ? given >= '0' && given <= '9' : wanted == given;
         });
}

}  // namespace

std::vector<std::string> consoleMessages(const std::string& errorOutput) {
  std::vector<std::string> messages;
  bool hasPlainLine = false;
  for (const std::string& line : linesOf(errorOutput)) {
    if (isStamped(line)) {
      EXPECT_FALSE(hasPlainLine) << "a line of the console after the last lines: " << line;
      messages.push_back(line.substr(kStamp.size()));
    } else {
      hasPlainLine = true;
    }
  }
  return messages;
}

std::vector<std::string> plainLines(const std::string& errorOutput) {
  std::vector<std::string> lines = linesOf(errorOutput);
  std::erase_if(lines, isStamped);
  return lines;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace tolvane
