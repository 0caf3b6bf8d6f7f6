// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace tolvane {

// What a person has set, in a property list of his own. It is read afresh for each question.
class UserDefaults {
 public:
  explicit UserDefaults(std::string path) : path_(std::move(path)) {}

  // "tolvane/defaults.plist" in $XDG_CONFIG_HOME, or in ".config" of the home folder where that is
  // not set to an absolute path.
  static UserDefaults standardUserDefaults();

  const std::string& path() const { return path_; }

  // The key's value in its text form; "" where there is none. It may be a secret, so a file that
  // others can read is told in the system log.
  std::string stringForKey(std::string_view key) const;

 private:
  std::string path_;
};

}  // namespace tolvane
