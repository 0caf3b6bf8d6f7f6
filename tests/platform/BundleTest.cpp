// SPDX-License-Identifier: MIT
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "platform/Bundle.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

TEST(Bundle, ItsListStandsBesideTheProgram) {
  EXPECT_EQ(Bundle("/opt/tolvane/tolvane").infoPath(), "/opt/tolvane/Info.plist");
  EXPECT_EQ(Bundle("/opt/MacOS/tolvane").infoPath(), "/opt/MacOS/Info.plist");
}

TEST(Bundle, ItsListStandsAboveTheProgramOfAMacOSBundle) {
  EXPECT_EQ(Bundle("/Applications/Tolvane.app/Contents/MacOS/Tolvane").infoPath(),
            "/Applications/Tolvane.app/Contents/Info.plist");
}

TEST(Bundle, OfAProgramWhosePlaceIsUnknownIsNotTheCurrentFolder) {
  const TemporaryFolder folder;
  folder.write("Info.plist", "{ Name = Somebody; }");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  for (const char* program : {"", "tolvane", "./tolvane"}) {
    EXPECT_EQ(Bundle(program).infoPath(), "") << program;
    EXPECT_EQ(Bundle(program).infoText("Name"), "") << program;
  }
  std::filesystem::current_path(before);
}

TEST(Bundle, TheMainOneIsThisProcesss) {
  const std::string path = Bundle::mainBundle().infoPath();
  EXPECT_TRUE(path.starts_with('/') && path.ends_with("/Info.plist")) << path;
  EXPECT_EQ(Bundle::mainBundle().infoText("a key that nobody has"), "");
}

TEST(Bundle, TextsNumbersAndBooleansAreTexts) {
  const TemporaryFolder folder;
  folder.write("Info.plist", "{ Name = Tolvane; Path = (a, b); }");
  const Bundle bundle(folder.path("tolvane"));
  EXPECT_EQ(bundle.infoText("Name"), "Tolvane");
  EXPECT_EQ(bundle.infoText("name"), "");
  EXPECT_EQ(bundle.infoText("Path"), "");
  folder.write("Info.plist", "<plist><dict><key>Build</key><integer>7</integer></dict></plist>");
  EXPECT_EQ(bundle.infoText("Build"), "7");
}

TEST(Bundle, AListThatIsNotThereSaysNothing) {
  const TemporaryFolder folder;
  const LogRecorder log;
  EXPECT_EQ(Bundle(folder.path("tolvane")).infoText("Name"), "");
  EXPECT_FALSE(Bundle(folder.path("tolvane")).hasInfo());
  folder.write("Info.plist", "(a, list)");
  EXPECT_TRUE(Bundle(folder.path("tolvane")).hasInfo());
  EXPECT_EQ(Bundle(folder.path("tolvane")).infoText("Name"), "");
  EXPECT_TRUE(log.lines().empty());
}

TEST(Bundle, AListThatCannotBeReadIsTold) {
  const TemporaryFolder folder;
  const LogRecorder log;
  folder.write("Info.plist", "{ Name = ");
  EXPECT_EQ(Bundle(folder.path("tolvane")).infoText("Name"), "");
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_TRUE(log.lines()[0].starts_with("[MAIN] Could not read " + folder.path("Info.plist") +
                                         ": Error Domain=NSCocoaErrorDomain Code=3840"))
      << log.lines()[0];
}

}  // namespace

}  // namespace tolvane
