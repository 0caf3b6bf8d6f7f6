// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

// The program's version; "" for what is not given.
struct VersionInfo {
  std::string shortVersion;
  std::string build;
};

// The version that the build was configured with.
VersionInfo buildVersion();

// The version in the information property list at the path, even where it gives none; without such
// a file, `otherwise`.
VersionInfo versionInfo(const std::string& infoPath, const VersionInfo& otherwise);

// "Version 1.2 (34)"; "Beta Release" where there is no short version.
std::string versionLine(const VersionInfo& version);

}  // namespace tolvane
