// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "archive_client/CentralArchiveConfiguration.h"
#include "platform/URL.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

class CentralArchiveConfiguration : public testing::Test {
 protected:
  void bundleSays(const std::string& value) { folder_.write("program/Info.plist", list(value)); }
  void userSays(const std::string& value) { folder_.write("defaults.plist", list(value)); }

  std::string secret() const {
    return centralArchiveAPISecret(Bundle(folder_.path("program/tolvane")),
                                   UserDefaults(folder_.path("defaults.plist")));
  }

 private:
  static std::string list(const std::string& value) {
    return "<plist><dict><key>CentralArchiveAPISecret</key>" + value + "</dict></plist>";
  }

  TemporaryFolder folder_;
};

TEST_F(CentralArchiveConfiguration, TheSecretOfTheBundleComesFirst) {
  bundleSays("<string>from the bundle</string>");
  userSays("<string>from the user</string>");
  EXPECT_EQ(secret(), "from the bundle");
}

TEST_F(CentralArchiveConfiguration, TheSecretOfTheUserComesNext) {
  userSays("<string>from the user</string>");
  EXPECT_EQ(secret(), "from the user");
  bundleSays("<string></string>");
  EXPECT_EQ(secret(), "from the user") << "an empty one is none";
}

TEST_F(CentralArchiveConfiguration, ASecretWithALineBreakIsRefused) {
  for (const char* text : {"a&#13;&#10;X-B: 1", "a\n", "\nb", "a&#13;b"}) {
    userSays("<string>" + std::string(text) + "</string>");
    EXPECT_EQ(secret(), "") << text;
  }
  userSays("<string>from the user</string>");
  bundleSays("<string>a\n</string>");
  EXPECT_EQ(secret(), "") << "nor does another one stand in for it";
}

TEST_F(CentralArchiveConfiguration, ThereIsNoSecretOfItsOwn) {
  EXPECT_EQ(secret(), "");
  userSays("<string></string>");
  EXPECT_EQ(secret(), "");
}

TEST_F(CentralArchiveConfiguration, TheBaseURLIsAnAddressOfHTTPSWithoutASlashAtItsEnd) {
  const auto url = URL::parse(centralArchiveBaseURL());
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme(), "https");
  EXPECT_TRUE(url->path().ends_with("/central_archive/archive-api"));
}

}  // namespace

}  // namespace tolvane
