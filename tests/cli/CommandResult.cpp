// SPDX-License-Identifier: MIT
#include "tests/cli/CommandResult.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>
#include <string_view>

namespace tolvane {

namespace {

// What a line of the console begins with; "0" stands for any digit.
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
  for (const std::string& line : linesOf(errorOutput)) {
    EXPECT_TRUE(isStamped(line)) << "not a line of the console: " << line;
    if (isStamped(line)) messages.push_back(line.substr(kStamp.size()));
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
