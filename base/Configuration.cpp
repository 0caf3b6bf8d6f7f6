// SPDX-License-Identifier: MIT
#include "base/Configuration.h"

#include <cstdlib>
#include <filesystem>
#include <pwd.h>
#include <system_error>
#include <unistd.h>

#include "base/File.h"

namespace tolvane {

namespace {

std::string homeFolder() {
  const char* home = std::getenv("HOME");
  if (home && *home) return home;
  const passwd* user = getpwuid(geteuid());
  return user ? user->pw_dir : "/";
}

std::string baseFolder(const char* variable, std::string_view belowHome) {
  const char* folder = std::getenv(variable);
  return folder && *folder == '/' ? folder : joinPath(homeFolder(), belowHome);
}

}  // namespace

Configuration Configuration::current() {
  std::error_code failure;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", failure);
  return {infoPathOfProgram(program.native()),
          joinPath(baseFolder("XDG_CONFIG_HOME", ".config"), "tolvane/defaults.plist"),
          baseFolder("XDG_CACHE_HOME", ".cache")};
}

std::string Configuration::infoPathOfProgram(std::string_view programPath) {
  const std::filesystem::path program(programPath);
  return program.is_absolute() ? (program.parent_path() / "Info.plist").string() : std::string();
}

}  // namespace tolvane
