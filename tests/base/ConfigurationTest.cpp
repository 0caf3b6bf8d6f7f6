// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

#include "base/Configuration.h"

namespace tolvane {

namespace {

// Sets or unsets a variable of the environment for as long as the object lives.
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

TEST(Configuration, ItsFoldersAreThoseThatTheEnvironmentNames) {
  const Environment home("HOME", "/home/somebody");
  const Environment settings("XDG_CONFIG_HOME", "/etc/somebody");
  const Environment caches("XDG_CACHE_HOME", "/var/cache/somebody");
  EXPECT_EQ(Configuration::current().defaultsPath, "/etc/somebody/tolvane/defaults.plist");
  EXPECT_EQ(Configuration::current().cacheFolder, "/var/cache/somebody");
}

TEST(Configuration, ItsFoldersAreInTheHomeFolderWhereNoOtherIsNamed) {
  const Environment home("HOME", "/home/somebody");
  for (const char* folder : {static_cast<const char*>(nullptr), "", "relative/folder"}) {
    const Environment settings("XDG_CONFIG_HOME", folder);
    const Environment caches("XDG_CACHE_HOME", folder);
    EXPECT_EQ(Configuration::current().defaultsPath,
              "/home/somebody/.config/tolvane/defaults.plist");
    EXPECT_EQ(Configuration::current().cacheFolder, "/home/somebody/.cache");
  }
}

TEST(Configuration, KnowsTheHomeFolderWithoutTheEnvironment) {
  const Environment folder("XDG_CONFIG_HOME", nullptr);
  const Environment home("HOME", nullptr);
  const std::string path = Configuration::current().defaultsPath;
  EXPECT_TRUE(path.starts_with('/')) << path;
  EXPECT_TRUE(path.ends_with("/.config/tolvane/defaults.plist")) << path;
}

TEST(Configuration, TheInformationListIsInTheFolderOfTheProgram) {
  EXPECT_EQ(Configuration::infoPathOfProgram("/opt/tolvane/tolvane"), "/opt/tolvane/Info.plist");
  const std::string path = Configuration::current().infoPath;
  EXPECT_TRUE(path.starts_with('/') && path.ends_with("/Info.plist")) << path;
}

TEST(Configuration, WithoutAnAbsoluteProgramPathThereIsNoInformationList) {
  for (const char* program : {"", "tolvane", "./tolvane"}) {
    EXPECT_EQ(Configuration::infoPathOfProgram(program), "") << program;
  }
}

}  // namespace

}  // namespace tolvane
