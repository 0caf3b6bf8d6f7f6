// SPDX-License-Identifier: MIT
#include "cli/StandardError.h"

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace tolvane {

namespace {

std::string_view environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

ConsoleSettings consoleOfStandardError() {
  ConsoleSettings settings;
  const bool terminal = ::isatty(STDERR_FILENO) == 1 && environmentVariable("TERM") != "dumb";
  settings.color = terminal && environmentVariable("NO_COLOR").empty();
  settings.statusLine = terminal;
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    settings.columns = size.ws_col;
  }
  return settings;
}

}  // namespace tolvane
