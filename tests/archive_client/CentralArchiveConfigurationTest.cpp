// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "archive_client/CentralArchiveConfiguration.h"
#include "platform/URL.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

class CentralArchiveConfiguration : public testing::Test {
 protected:
  void bundleSays(const std::string& value, mode_t mode = 0600) {
    chmod(folder_.write("program/Info.plist", list(value)).c_str(), mode);
  }
  std::string infoPath() const { return folder_.path("program/Info.plist"); }
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
  bundleSays("<string>sesame of the bundle</string>");
  userSays("<string>sesame of the user</string>");
  EXPECT_EQ(secret(), "sesame of the bundle");
}

TEST_F(CentralArchiveConfiguration, TheSecretOfTheUserComesNext) {
  userSays("<string>sesame of the user</string>");
  EXPECT_EQ(secret(), "sesame of the user");
  bundleSays("<string></string>");
  EXPECT_EQ(secret(), "sesame of the user") << "an empty one is none";
}

TEST_F(CentralArchiveConfiguration, ASecretThatOthersCanReadIsTold) {
  for (const mode_t mode : {0640, 0604, 0644}) {
    bundleSays("<string>sesame of the bundle</string>", mode);
    const LogRecorder log;
    EXPECT_EQ(secret(), "sesame of the bundle");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"[MAIN] Others can read " + infoPath() +
                                                     ", which may hold a secret."}));
  }
}

TEST_F(CentralArchiveConfiguration, AListThatHoldsNoSecretMayBeReadByAll) {
  const LogRecorder log;
  bundleSays("<string></string>", 0644);
  EXPECT_EQ(secret(), "");
  bundleSays("<string>sesame of the bundle</string>", 0600);
  EXPECT_EQ(secret(), "sesame of the bundle");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(CentralArchiveConfiguration, ASecretWithALineBreakIsRefused) {
  for (const char* text : {"sesame&#13;&#10;X-B: 1", "sesame\n", "\nsesame", "sesame&#13;b"}) {
    userSays("<string>" + std::string(text) + "</string>");
    EXPECT_EQ(secret(), "") << text;
  }
  userSays("<string>sesame of the user</string>");
  bundleSays("<string>sesame\n</string>");
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
