// SPDX-License-Identifier: MIT
#include "app/VersionInfo.h"

#include <fmt/format.h>
#include <string_view>

#include "base/File.h"
#include "base/SystemLog.h"
#include "plist/PropertyListFile.h"

namespace tolvane {

namespace {

std::string infoText(const std::string& path, std::string_view key) {
  const PropertyListText value = textInPropertyListFile(path, key);
  if (value.error) SystemLog::write("[MAIN] Could not read {}: {}", path, describe(value.error));
  return value.text;
}

}  // namespace

VersionInfo buildVersion() {
  return {TOLVANE_SHORT_VERSION, TOLVANE_BUILD_NUMBER};
}

VersionInfo versionInfo(const std::string& infoPath, const VersionInfo& otherwise) {
  if (!fileExists(infoPath)) return otherwise;
  return {infoText(infoPath, "CFBundleShortVersionString"), infoText(infoPath, "CFBundleVersion")};
}

std::string versionLine(const VersionInfo& version) {
  if (version.shortVersion.empty()) return "Beta Release";
  return fmt::format("Version {} ({})", version.shortVersion, version.build);
}

}  // namespace tolvane
