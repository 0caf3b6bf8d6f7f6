// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <string_view>

#include "base/Text.h"

namespace tolvane {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kEveryBlank[] = {
    " ",      "\t",     "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
    "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000",
};

constexpr std::string_view kEveryOtherWhitespace[] = {
    "\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029",
};

// Neighbours of the characters above, and others that look blank.
constexpr std::string_view kNotWhitespace[] = {
    "\b",     "\x0E",   "\0"sv,   "\x7F",   "\u00A1", "\u0084", "\u0086", "\u167F",     "\u1681",
    "\u180E", "\u1FFF", "\u200B", "\u2027", "\u202A", "\u202E", "\u2030", "\u205E",     "\u2060",
    "\u2FFF", "\u3001", "\uFEFF", "\u00E0", "\u0120", "\u2020", "\u20A0", "\U00012000",
};

std::string between(std::string_view edge, std::string_view middle) {
  return std::string(edge) + std::string(middle) + std::string(edge);
}

TEST(Text, BlanksAreSpaceSeparatorsAndTheTab) {
  for (const auto blank : kEveryBlank) {
    EXPECT_EQ(trimBlanks(between(blank, "a")), "a") << testing::PrintToString(blank);
  }
}

TEST(Text, TrimmingBlanksKeepsNewlinesAndEverythingElse) {
  for (const auto character : kEveryOtherWhitespace) {
    EXPECT_EQ(trimBlanks(character), character) << testing::PrintToString(character);
  }
  for (const auto character : kNotWhitespace) {
    EXPECT_EQ(trimBlanks(character), character) << testing::PrintToString(character);
  }
}

TEST(Text, WhitespaceAndNewlinesAreTheBlanksAndTheLineAndParagraphEnds) {
  for (const auto blank : kEveryBlank) {
    EXPECT_EQ(trimWhitespaceAndNewlines(between(blank, "a")), "a") << testing::PrintToString(blank);
  }
  for (const auto newline : kEveryOtherWhitespace) {
    EXPECT_EQ(trimWhitespaceAndNewlines(between(newline, "a")), "a")
        << testing::PrintToString(newline);
  }
}

TEST(Text, TrimmingWhitespaceKeepsEverythingElse) {
  for (const auto character : kNotWhitespace) {
    EXPECT_EQ(trimWhitespaceAndNewlines(character), character) << testing::PrintToString(character);
  }
}

TEST(Text, TrimmingTakesRunsAtBothEndsAndNothingInside) {
  EXPECT_EQ(trimBlanks(" \t\u3000 a \t b\u00A0 "), "a \t b");
  EXPECT_EQ(trimWhitespaceAndNewlines("\r\n \u2028a\nb\t\r\n"), "a\nb");
}

TEST(Text, TrimmingATextOfNothingButBlanksLeavesNothing) {
  EXPECT_EQ(trimBlanks(""), "");
  EXPECT_EQ(trimBlanks(" \u3000\t"), "");
  EXPECT_EQ(trimWhitespaceAndNewlines("\r\n \u0085"), "");
}

TEST(Text, TrimmingNeverCutsACharacterInTwo) {
  // The last bytes of these are those of blanks: U+0460 ends like U+00A0, U+4080 like U+2000.
  EXPECT_EQ(trimBlanks("\u0460\u4080 "), "\u0460\u4080");
  EXPECT_EQ(trimBlanks(" \xA0"), " \xA0");  // not a character at all
}

TEST(Text, AnIntegerIsReadUpToTheFirstOtherCharacter) {
  EXPECT_EQ(integerValue("123"), 123);
  EXPECT_EQ(integerValue("1 2"), 1);
  EXPECT_EQ(integerValue("12KB"), 12);
  EXPECT_EQ(integerValue("3.9"), 3);
  EXPECT_EQ(integerValue("007"), 7);
}

TEST(Text, AnIntegerMayHaveLeadingBlanksAndOneSign) {
  EXPECT_EQ(integerValue(" \t\u00A042"), 42);
  EXPECT_EQ(integerValue("-42"), -42);
  EXPECT_EQ(integerValue(" +42"), 42);
  EXPECT_EQ(integerValue("+-42"), 0);
  EXPECT_EQ(integerValue("- 42"), 0);
  EXPECT_EQ(integerValue("\n42"), 0);
}

TEST(Text, ATextWithoutDigitsIsTheIntegerZero) {
  EXPECT_EQ(integerValue(""), 0);
  EXPECT_EQ(integerValue("x"), 0);
  EXPECT_EQ(integerValue("-"), 0);
  EXPECT_EQ(integerValue("\u0661"), 0);  // a digit, but not of ours
}

TEST(Text, IntegersAreClampedTo64Bits) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  EXPECT_EQ(integerValue("9223372036854775807"), kMost);
  EXPECT_EQ(integerValue("9223372036854775808"), kMost);
  EXPECT_EQ(integerValue("99999999999999999999999999"), kMost);
  EXPECT_EQ(integerValue("-9223372036854775807"), kLeast + 1);
  EXPECT_EQ(integerValue("-9223372036854775808"), kLeast);
  EXPECT_EQ(integerValue("-9223372036854775809"), kLeast);
  EXPECT_EQ(integerValue("-99999999999999999999999999"), kLeast);
}

TEST(Text, ABooleanIsTrueWhenItBeginsWithYesTrueOrADigitAboveZero) {
  for (const auto* text : {"Y", "y", "T", "t", "Yes", "true", "1", "9", "5x", " \u3000\tyes"}) {
    EXPECT_TRUE(booleanValue(text)) << text;
  }
}

TEST(Text, AnyOtherBooleanIsFalse) {
  for (const auto* text : {"", " ", "0", "01", "no", "N", "false", "+1", "-1", "\ny", "x1"}) {
    EXPECT_FALSE(booleanValue(text)) << text;
  }
}

TEST(Text, ComparingWithoutCaseChangesOnlyASCIILetters) {
  EXPECT_TRUE(equalsIgnoringASCIICase("HTTPS", "https"));
  EXPECT_TRUE(equalsIgnoringASCIICase("", ""));
  EXPECT_FALSE(equalsIgnoringASCIICase("http", "https"));
  EXPECT_FALSE(equalsIgnoringASCIICase("[", "{"));
  EXPECT_FALSE(equalsIgnoringASCIICase("@", "`"));
  EXPECT_FALSE(equalsIgnoringASCIICase("\u00C4", "\u00E4"));
}

}  // namespace
}  // namespace tolvane
