// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// The paths of the program's configuration files and of its caches. Those of the user follow the
// XDG Base Directory Specification: a variable that is not an absolute path is ignored.
struct Configuration {
  // The information property list: Info.plist in the folder of the program's executable. It need
  // not exist. "" if the path of the executable is unknown.
  std::string infoPath;

  // The user's settings: "tolvane/defaults.plist" in $XDG_CONFIG_HOME, else in "~/.config". It
  // need not exist.
  std::string defaultsPath;

  // The folder of all caches: $XDG_CACHE_HOME, else "~/.cache".
  std::string cacheFolder;

  // The paths for this process and its present environment.
  static Configuration current();

  // The information property list of the executable at the path; "" for one that is not absolute.
  static std::string infoPathOfProgram(std::string_view programPath);
};

// The keys of the two property lists.
inline constexpr std::string_view kCentralArchiveAPISecretKey = "CentralArchiveAPISecret";

}  // namespace tolvane
