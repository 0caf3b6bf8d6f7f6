// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/TextCase.h"

namespace tolvane {
namespace {

TEST(TextCase, LowersLettersOfEveryScript) {
  EXPECT_EQ(lowercased("Tabs & ÄÖÜ, ΑΒΓ, ЖЗИ"), "tabs & äöü, αβγ, жзи");
}

TEST(TextCase, LowersOneLetterToSeveral) {
  EXPECT_EQ(lowercased("İ"), "i\u0307");
}

TEST(TextCase, KeepsWhatHasNoCase) {
  EXPECT_EQ(lowercased("1.0-2~b \t漢字"), "1.0-2~b \t漢字");
  EXPECT_EQ(lowercased(""), "");
}

TEST(TextCase, KeepsBytesThatAreNotUTF8) {
  EXPECT_EQ(lowercased("A\xFFZ"), "a\xFFz");
}

}  // namespace
}  // namespace tolvane
