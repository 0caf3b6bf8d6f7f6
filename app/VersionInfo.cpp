// SPDX-License-Identifier: MIT
#include "app/VersionInfo.h"

#include <fmt/format.h>

namespace tolvane {

VersionInfo buildVersion() {
  return {TOLVANE_SHORT_VERSION, TOLVANE_BUILD_NUMBER};
}

VersionInfo versionInfo(const Bundle& bundle, const VersionInfo& otherwise) {
  if (!bundle.hasInfo()) return otherwise;
  return {bundle.infoText("CFBundleShortVersionString"), bundle.infoText("CFBundleVersion")};
}

std::string versionLine(const VersionInfo& version) {
  if (version.shortVersion.empty()) return "Beta Release";
  return fmt::format("Version {} ({})", version.shortVersion, version.build);
}

}  // namespace tolvane
