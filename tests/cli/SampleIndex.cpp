// SPDX-License-Identifier: MIT
#include "tests/cli/SampleIndex.h"

namespace tolvane {

std::string stanza(const std::string& name, const ExtraFields& extra) {
  std::string text = "Package: " + name + "\nVersion: 1.0\nArchitecture: iphoneos-arm\n" +
                     "Filename: debs/" + name + ".deb\n";
  for (const auto& [key, value] : extra) text += key + ": " + value + "\n";
  return text + "\n";
}

ExtraFields trueChecks() {
  return {{"Size", kPackageSize}, {"MD5sum", kPackageMD5}, {"SHA256", kPackageSHA256}};
}

}  // namespace tolvane
