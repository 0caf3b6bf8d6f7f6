// SPDX-License-Identifier: MIT
#include "platform/UserDefaults.h"

#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/PropertyListFile.h"
#include "platform/SystemLog.h"
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

bool canBeReadByOthers(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0;
}

}  // namespace

UserDefaults UserDefaults::standardUserDefaults() {
  return UserDefaults(joinPath(configurationFolder(), "tolvane/defaults.plist"));
}

std::string UserDefaults::stringForKey(std::string_view key) const {
  if (canBeReadByOthers(path_)) {
    SystemLog::write("[MAIN] Others can read {}, which may hold a secret.", path_);
  }
  return textInPropertyListFile(path_, key);
}

}  // namespace tolvane
