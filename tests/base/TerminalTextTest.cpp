// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "base/TerminalText.h"

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

TEST(TerminalText, ReplacesLineSeparatorsAndBidirectionalControls) {
  for (const char* control : {"\u2028", "\u2029", "\u202A", "\u202B", "\u202C", "\u202D", "\u202E",
                              "\u2066", "\u2067", "\u2068", "\u2069"}) {
    EXPECT_EQ(printable(std::string("a") + control + "b"), "a\uFFFDb");
    EXPECT_EQ(displayWidth(control), 1U);
  }
  EXPECT_EQ(printable("\u2027\u202F\u2065\u206A"), "\u2027\u202F\u2065\u206A");
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
  // As wide as their replacements.
  for (const char* text : {"\t", "\033", "\u0085", "\xFF"}) {
    EXPECT_EQ(displayWidth(text), displayWidth(printable(text)));
  }
}

}  // namespace
}  // namespace tolvane
