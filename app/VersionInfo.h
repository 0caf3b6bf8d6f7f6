// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

// What is said of the program's version; "" where nothing is said.
struct VersionInfo {
  std::string shortVersion;
  std::string build;
};

// As the build was told.
VersionInfo buildVersion();

// What the information property list at the path says, be it nothing; a program without one has its
// version from the build.
VersionInfo versionInfo(const std::string& infoPath, const VersionInfo& otherwise);

// "Version 1.2 (34)"; "Beta Release" where there is no short version.
std::string versionLine(const VersionInfo& version);

}  // namespace tolvane
