// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "archive_client/CentralArchiveConfiguration.h"
#include "base/URL.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

class CentralArchiveSecret : public testing::Test {
 protected:
  void bundleSays(const std::string& value, mode_t mode = 0600) {
    chmod(folder_.write("program/Info.plist", list(value)).c_str(), mode);
  }
  std::string infoPath() const { return folder_.path("program/Info.plist"); }
  void userSays(const std::string& value, mode_t mode = 0600) {
    chmod(folder_.write("defaults.plist", list(value)).c_str(), mode);
  }
  std::string defaultsPath() const { return folder_.path("defaults.plist"); }
  const TemporaryFolder& folderOfFiles() const { return folder_; }

  std::string secret() const { return centralArchiveAPISecret({infoPath(), defaultsPath(), ""}); }

 private:
  static std::string list(const std::string& value) {
    return "<plist><dict><key>CentralArchiveAPISecret</key>" + value + "</dict></plist>";
  }

  TemporaryFolder folder_;
};

TEST_F(CentralArchiveSecret, TheSecretOfTheBundleComesFirst) {
  bundleSays("<string>sesame of the bundle</string>");
  userSays("<string>sesame of the user</string>");
  EXPECT_EQ(secret(), "sesame of the bundle");
}

TEST_F(CentralArchiveSecret, TheSecretOfTheUserComesNext) {
  userSays("<string>sesame of the user</string>");
  EXPECT_EQ(secret(), "sesame of the user");
  bundleSays("<string></string>");
  EXPECT_EQ(secret(), "sesame of the user") << "an empty one is none";
}

TEST_F(CentralArchiveSecret, AWarningIsLoggedForASecretThatOthersCanRead) {
  for (const mode_t mode : {0640, 0604, 0644}) {
    bundleSays("<string>sesame of the bundle</string>", mode);
    const LogRecorder log;
    EXPECT_EQ(secret(), "sesame of the bundle");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"[MAIN] Others can read " + infoPath() +
                                                     ", which may hold a secret."}));
  }
}

TEST_F(CentralArchiveSecret, ThatMayBeInDefaultsWhichOthersCanReadIsLogged) {
  for (const mode_t mode : {0640, 0604, 0644}) {
    userSays("<string>sesame of the user</string>", mode);
    const LogRecorder log;
    EXPECT_EQ(secret(), "sesame of the user");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"[MAIN] Others can read " + defaultsPath() +
                                                     ", which may hold a secret."}));
  }
}

TEST_F(CentralArchiveSecret, OfDefaultsThatOnlyTheUserCanReadIsNotLogged) {
  const LogRecorder log;
  EXPECT_EQ(secret(), "");
  userSays("<string>sesame of the user</string>", 0600);
  EXPECT_EQ(secret(), "sesame of the user");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(CentralArchiveSecret, IsReadForEachQuestion) {
  EXPECT_EQ(secret(), "");
  userSays("<string>sesame of the user</string>");
  EXPECT_EQ(secret(), "sesame of the user");
}

TEST_F(CentralArchiveSecret, OfAListThatCannotBeReadIsEmptyAndTheListIsNamed) {
  const LogRecorder log;
  chmod(folderOfFiles().write("program/Info.plist", "{ Name = ").c_str(), 0600);
  EXPECT_EQ(secret(), "");
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_TRUE(log.lines()[0].starts_with("[MAIN] Could not read " + infoPath() +
                                         ": Error Domain=NSCocoaErrorDomain Code=3840"))
      << log.lines()[0];
}

TEST_F(CentralArchiveSecret, AListThatHoldsNoSecretMayBeReadByAll) {
  const LogRecorder log;
  bundleSays("<string></string>", 0644);
  EXPECT_EQ(secret(), "");
  bundleSays("<string>sesame of the bundle</string>", 0600);
  EXPECT_EQ(secret(), "sesame of the bundle");
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(CentralArchiveSecret, ASecretWithALineBreakIsRefused) {
  for (const char* text : {"sesame&#13;&#10;X-B: 1", "sesame\n", "\nsesame", "sesame&#13;b"}) {
    userSays("<string>" + std::string(text) + "</string>");
    EXPECT_EQ(secret(), "") << text;
  }
  userSays("<string>sesame of the user</string>");
  bundleSays("<string>sesame\n</string>");
  EXPECT_EQ(secret(), "") << "nor does another one stand in for it";
}

TEST_F(CentralArchiveSecret, ThereIsNoSecretOfItsOwn) {
  EXPECT_EQ(secret(), "");
  userSays("<string></string>");
  EXPECT_EQ(secret(), "");
}

TEST_F(CentralArchiveSecret, TheBaseURLIsAnAddressOfHTTPSWithoutASlashAtItsEnd) {
  const auto url = URL::parse(centralArchiveBaseURL());
  ASSERT_TRUE(url);
  EXPECT_EQ(url->scheme(), "https");
  EXPECT_TRUE(url->path().ends_with("/central_archive/archive-api"));
}

}  // namespace

}  // namespace tolvane
