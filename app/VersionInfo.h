// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "platform/Bundle.h"

namespace tolvane {

// What is said of the program's version; "" where nothing is said.
struct VersionInfo {
  std::string shortVersion;
  std::string build;
};

// As the build was told.
VersionInfo buildVersion();

// What the bundle says, be it nothing; a program that is no bundle has its version from the build.
VersionInfo versionInfo(const Bundle& bundle, const VersionInfo& otherwise);

// "Version 1.2 (34)"; "Beta Release" where there is no short version.
std::string versionLine(const VersionInfo& version);

}  // namespace tolvane
