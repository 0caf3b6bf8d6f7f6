// SPDX-License-Identifier: MIT
#include "tests/cli/ScriptedCommand.h"

#include <sstream>

#include "cli/Command.h"

namespace tolvane {

CommandResult runScripted(const ScriptedHTTPClient& session,
                          const std::vector<std::string>& arguments, ConsoleSettings console) {
  std::ostringstream output, errorOutput;
  const int status = runCommand(arguments, {session.factory(), output, errorOutput, console});
  return {status, output.str(), errorOutput.str()};
}

}  // namespace tolvane
