// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// Every secret and token of this folder's tests contains this, so that one search finds any of
// them.
inline constexpr const char* kCredentialMark = "sesame";

// Watches each test of the folder: no line of a log, no error and no argument of the process may
// hold a credential while it runs. It is always on.
class CredentialWatch {
 public:
  // Adds what only the test received, such as the description of an error.
  static void show(const std::string& text);

  // All that was logged in the test so far, the arguments of the process included.
  static std::vector<std::string> logged();

  // Those of the texts that hold a credential.
  static std::vector<std::string> leaksIn(const std::vector<std::string>& texts);
};

}  // namespace tolvane
