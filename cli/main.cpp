// SPDX-License-Identifier: MIT
#include <iostream>

#include "base/Process.h"
#include "cli/Command.h"
#include "cli/StandardError.h"
#include "http/HTTPClient.h"

int main(int argc, char** argv) {
  tolvane::prepareProcess();
  std::ios::sync_with_stdio(false);
  return tolvane::runCommand(
      {argv + 1, argv + argc},
      {tolvane::makeHTTPClient, std::cout, std::cerr, tolvane::consoleOfStandardError()});
}
