// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

inline constexpr int kGeneratedPackages = 10'000;

// An invented Installer 3 repository of 10,000 packages with the eight keys of a package list each,
// about 6 MB of XML. The texts are as long as those of real lists; names, versions and locations
// differ everywhere, categories and maintainers repeat. Made once; the same in every run.
const std::string& generatedXMLPackageList();
const std::string& generatedBinaryPackageList();

}  // namespace tolvane
