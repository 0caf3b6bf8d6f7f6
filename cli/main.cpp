// SPDX-License-Identifier: MIT
#include <iostream>

#include "cli/Command.h"
#include "cli/StandardError.h"
#include "platform/Process.h"
#include "platform/URLSession.h"

int main(int argc, char** argv) {
  tolvane::prepareProcess();
  std::ios::sync_with_stdio(false);
  return tolvane::runCommand(
      {argv + 1, argv + argc},
      {tolvane::makeURLSession, std::cout, std::cerr, tolvane::consoleOfStandardError()});
}
