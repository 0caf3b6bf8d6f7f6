// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "plist/PropertyListFile.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

namespace {

class PropertyListFile : public testing::Test {
 protected:
  PropertyListText textOf(const char* key) const {
    return textInPropertyListFile(folder_.path("Info.plist"), key);
  }

  TemporaryFolder folder_;
};

TEST_F(PropertyListFile, StringsNumbersAndBooleansHaveATextForm) {
  folder_.write("Info.plist", "{ Name = Tolvane; Path = (a, b); }");
  EXPECT_EQ(textOf("Name").text, "Tolvane");
  EXPECT_EQ(textOf("name").text, "");
  EXPECT_EQ(textOf("Path").text, "");
  folder_.write("Info.plist", "<plist><dict><key>Build</key><integer>7</integer></dict></plist>");
  EXPECT_EQ(textOf("Build").text, "7");
}

TEST_F(PropertyListFile, AMissingFileAndOneWithoutADictionaryHaveNoText) {
  EXPECT_EQ(textOf("Name").text, "");
  EXPECT_FALSE(textOf("Name").error);
  EXPECT_FALSE(textInPropertyListFile("", "Name").error);
  folder_.write("Info.plist", "(a, list)");
  EXPECT_EQ(textOf("Name").text, "");
  EXPECT_FALSE(textOf("Name").error);
}

TEST_F(PropertyListFile, AnUnreadableFileIsAnError) {
  folder_.write("Info.plist", "{ Name = ");
  EXPECT_EQ(textOf("Name").text, "");
  ASSERT_TRUE(textOf("Name").error);
  EXPECT_EQ(textOf("Name").error->code, 3840);
}

}  // namespace

}  // namespace tolvane
