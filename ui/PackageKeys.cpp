// SPDX-License-Identifier: MIT
#include "ui/PackageKeys.h"

#include <string_view>

namespace tolvane {

std::string keyForPackage(const PackageEntry& package) {
  const std::string_view name = package.packageName();
  const std::string_view version = package.version();
  const std::string_view architecture = package.architecture();
  const std::string_view filename = package.filename();
  std::string key;
  key.reserve(name.size() + version.size() + architecture.size() + filename.size() + 3);
  key.append(name).append("|").append(version).append("|");
  key.append(architecture).append("|").append(filename);
  return key;
}

}  // namespace tolvane
