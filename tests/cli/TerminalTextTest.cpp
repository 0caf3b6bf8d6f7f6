// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "cli/TerminalText.h"

namespace tolvane {
namespace {

TEST(TerminalText, KeepsLettersOfEveryScript) {
  EXPECT_EQ(printable("Ünïcode 漢字 👍 <&>"), "Ünïcode 漢字 👍 <&>");
}

TEST(TerminalText, ReplacesEscapeSequencesAndOtherControls) {
  EXPECT_EQ(printable("a\033[31mb"), "a\uFFFD[31mb");
  EXPECT_EQ(printable("a\rb\nc\bd\x7F"), "a\uFFFDb\uFFFDc\uFFFDd\uFFFD");
  EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\uFFFDb");
}

TEST(TerminalText, ReplacesTheControlsAboveASCII) {
  EXPECT_EQ(printable("a\u009B31mb\u0085"), "a\uFFFD31mb\uFFFD");
}

TEST(TerminalText, TurnsATabIntoABlank) {
  EXPECT_EQ(printable("a\tb"), "a b");
}

TEST(TerminalText, ReplacesBytesThatAreNotUTF8) {
  EXPECT_EQ(printable("a\xFF"
                      "b\xC3"),
            "a\uFFFDb\uFFFD");
}

TEST(TerminalText, CountsCells) {
  EXPECT_EQ(displayWidth(""), 0U);
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("äöü"), 3U);
  EXPECT_EQ(displayWidth("a\u0308"), 1U);  // with a combining mark
  EXPECT_EQ(displayWidth("漢字"), 4U);
  EXPECT_EQ(displayWidth("\uFFFD"), 1U);
  // As many as what takes their place.
  for (const char* text : {"\t", "\033", "\u0085", "\xFF"}) {
    EXPECT_EQ(displayWidth(text), displayWidth(printable(text)));
  }
}

}  // namespace
}  // namespace tolvane
