// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

inline constexpr int kGeneratedPackages = 10'000;

// An invented Installer 3 repository of 10,000 packages with eight keys each, about 6 MB of XML.
// The strings are as long as those of real lists, descriptions of some 180 bytes; names, versions
// and locations differ, categories and maintainers repeat. Made once; the same in every run.
const std::string& generatedXMLPackageList();
const std::string& generatedBinaryPackageList();

}  // namespace tolvane
