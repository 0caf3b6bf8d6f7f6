// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

#include "platform/PropertyListFile.h"
#include "platform/Text.h"

namespace tolvane {

namespace {

std::string homeFolder() {
  const char* home = std::getenv("HOME");
  if (home && *home) return home;
  const passwd* user = getpwuid(geteuid());
  return user ? user->pw_dir : "/";
}

std::string configurationFolder() {
  // A relative path is to be ignored (XDG Base Directory Specification).
  const char* folder = std::getenv("XDG_CONFIG_HOME");
  return folder && *folder == '/' ? folder : joinPath(homeFolder(), ".config");
}

}  // namespace

UserDefaults UserDefaults::standardUserDefaults() {
  return UserDefaults(joinPath(configurationFolder(), "tolvane/defaults.plist"));
}

std::string UserDefaults::stringForKey(std::string_view key) const {
  tellIfOthersCanRead(path_);
  return textInPropertyListFile(path_, key);
}

}  // namespace tolvane
