// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace tolvane {

// What every secret and token of this folder's tests has in it, so that one look finds any of them.
inline constexpr const char* kCredentialMark = "sesame";

// Watches each test of the folder: no line of a log, no error and no argument of the process may
// hold a credential while it runs. It is on without being asked for.
class CredentialWatch {
 public:
  // Adds what nobody but the test was told, as the description of an error.
  static void show(const std::string& text);

  // All that has been told in the test so far, the arguments of the process included.
  static std::vector<std::string> told();

  // Those of the texts that hold a credential.
  static std::vector<std::string> leaksIn(const std::vector<std::string>& texts);
};

}  // namespace tolvane
