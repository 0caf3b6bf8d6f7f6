// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "app/VersionInfo.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

class Version : public testing::Test {
 protected:
  std::string lineFor(const char* infoList, const VersionInfo& build) {
    folder.write("Info.plist", infoList);
    return lineFor(build);
  }
  std::string lineFor(const VersionInfo& build) {
    return versionLine(versionInfo(folder.path("Info.plist"), build));
  }

  TemporaryFolder folder;
};

TEST_F(Version, IsWhatTheBundleSays) {
  EXPECT_EQ(
      lineFor("{ CFBundleShortVersionString = \"2.5\"; CFBundleVersion = \"7\"; }", {"1", "1"}),
      "Version 2.5 (7)");
  EXPECT_EQ(lineFor("{ CFBundleShortVersionString = \"2.5\"; }", {"1", "1"}), "Version 2.5 ()");
}

TEST_F(Version, OfABundleWithoutAShortOneIsABetaRelease) {
  EXPECT_EQ(lineFor("{ CFBundleVersion = \"7\"; }", {"1", "1"}), "Beta Release");
}

TEST_F(Version, OfABundleWithoutAnyIsABetaReleaseWhateverTheVersionOfTheBuild) {
  for (const char* infoList : {"{ CentralArchiveAPISecret = \"x\"; }", "{ }", "{ no list", ""}) {
    EXPECT_EQ(lineFor(infoList, {"1.2", "34"}), "Beta Release") << infoList;
  }
}

TEST_F(Version, WithoutABundleIsThatOfTheBuild) {
  EXPECT_EQ(lineFor({"1.2", "34"}), "Version 1.2 (34)");
  EXPECT_EQ(lineFor({"", "34"}), "Beta Release");
}

}  // namespace
}  // namespace tolvane
