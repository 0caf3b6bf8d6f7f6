// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Where the program looks for what it is told: the file that it is installed with and those of the
// person who runs it. The latter follow the XDG Base Directory Specification, by which a variable
// that is no absolute path is ignored.
struct Configuration {
  // The information property list, Info.plist beside the program. It need not exist. "" where the
  // program's own path is unknown.
  std::string infoPath;

  // What a person has set: "tolvane/defaults.plist" in $XDG_CONFIG_HOME, else in "~/.config". It
  // need not exist.
  std::string defaultsPath;

  // Where caches stand: $XDG_CACHE_HOME, else "~/.cache".
  std::string cacheFolder;

  // That of this process, by its environment as it is now.
  static Configuration current();

  // The information property list of a program; "" for a path that is not absolute.
  static std::string infoPathOfProgram(std::string_view programPath);
};

// The keys of the two property lists.
inline constexpr std::string_view kCentralArchiveAPISecretKey = "CentralArchiveAPISecret";

}  // namespace tolvane
