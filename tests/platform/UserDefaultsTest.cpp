// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "platform/UserDefaults.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

// Sets a variable of the environment, or takes it away, until it goes.
class Environment {
 public:
  Environment(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    had_ = std::getenv(name) != nullptr;
    value ? setenv(name, value, 1) : unsetenv(name);
  }
  ~Environment() { had_ ? setenv(name_, before_.c_str(), 1) : unsetenv(name_); }

 private:
  const char* name_;
  std::string before_;
  bool had_;
};

constexpr const char* kList = "<plist><dict><key>Secret</key><string>s</string></dict></plist>";

std::string standardPath() {
  return UserDefaults::standardUserDefaults().path();
}

TEST(UserDefaults, StandInTheConfigurationFolder) {
  const Environment home("HOME", "/home/somebody");
  const Environment folder("XDG_CONFIG_HOME", "/etc/somebody");
  EXPECT_EQ(standardPath(), "/etc/somebody/tolvane/defaults.plist");
}

TEST(UserDefaults, StandInTheHomeFolderWhereNoOtherIsNamed) {
  const Environment home("HOME", "/home/somebody");
  for (const char* folder : {static_cast<const char*>(nullptr), "", "relative/folder"}) {
    const Environment variable("XDG_CONFIG_HOME", folder);
    EXPECT_EQ(standardPath(), "/home/somebody/.config/tolvane/defaults.plist");
  }
}

TEST(UserDefaults, KnowTheHomeFolderWithoutTheEnvironment) {
  const Environment folder("XDG_CONFIG_HOME", nullptr);
  const Environment home("HOME", nullptr);
  EXPECT_TRUE(standardPath().starts_with('/')) << standardPath();
  EXPECT_TRUE(standardPath().ends_with("/.config/tolvane/defaults.plist")) << standardPath();
}

TEST(UserDefaults, AreReadForEachQuestion) {
  const TemporaryFolder folder;
  const UserDefaults defaults(folder.path("defaults.plist"));
  EXPECT_EQ(defaults.stringForKey("Secret"), "");
  folder.write("defaults.plist", kList);
  EXPECT_EQ(defaults.stringForKey("Secret"), "s");
  EXPECT_EQ(defaults.stringForKey("Other"), "");
}

TEST(UserDefaults, ThatOthersCanReadAreTold) {
  const TemporaryFolder folder;
  const std::string path = folder.write("defaults.plist", kList);
  for (const mode_t mode : {0640, 0604, 0644}) {
    chmod(path.c_str(), mode);
    const LogRecorder log;
    EXPECT_EQ(UserDefaults(path).stringForKey("Secret"), "s");
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"[MAIN] Others can read " + path +
                                                     ", which may hold a secret."}));
  }
}

TEST(UserDefaults, ThatNobodyElseCanReadAreNotTold) {
  const TemporaryFolder folder;
  const std::string path = folder.write("defaults.plist", kList);
  chmod(path.c_str(), 0600);
  const LogRecorder log;
  EXPECT_EQ(UserDefaults(path).stringForKey("Secret"), "s");
  EXPECT_EQ(UserDefaults(folder.path("none")).stringForKey("Secret"), "");
  EXPECT_TRUE(log.lines().empty());
}

}  // namespace

}  // namespace tolvane
