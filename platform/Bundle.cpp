// SPDX-License-Identifier: MIT
#include "platform/Bundle.h"

#include <filesystem>
#include <system_error>

#include "platform/File.h"
#include "platform/PropertyListFile.h"

namespace tolvane {

Bundle::Bundle(std::string_view programPath) {
  const std::filesystem::path program(programPath);
  if (!program.is_absolute()) return;  // nobody knows where it stands
  std::filesystem::path folder = program.parent_path();
  const bool isMacOSBundle =
      folder.filename() == "MacOS" && folder.parent_path().filename() == "Contents";
  if (isMacOSBundle) folder = folder.parent_path();
  infoPath_ = folder / "Info.plist";
}

Bundle Bundle::mainBundle() {
  std::error_code failure;
  return Bundle(std::filesystem::read_symlink("/proc/self/exe", failure).string());
}

bool Bundle::hasInfo() const {
  return fileExists(infoPath_);
}

std::string Bundle::infoText(std::string_view key) const {
  return textInPropertyListFile(infoPath_, key);
}

}  // namespace tolvane
