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

TEST(Text, WellFormedUTF8IsValidUpToTheLastCodePoint) {
  EXPECT_TRUE(isValidUTF8(""));
  EXPECT_TRUE(isValidUTF8("plain ASCII"));
  // At every place of a long text, which is not looked at byte by byte.
  for (std::size_t i = 0; i < 200; ++i) {
    std::string text(200, 'a');
    EXPECT_TRUE(isValidUTF8(text.replace(i, 1, "\u00E9\u6F22")));
    EXPECT_FALSE(isValidUTF8(text.replace(i, 1, "\xFF")));
  }
  EXPECT_TRUE(isValidUTF8("\0\x7F"sv));
  EXPECT_TRUE(isValidUTF8("\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF"));
  EXPECT_TRUE(isValidUTF8("1234567\u00E412345678\u20AC123456789\U0001F600"));
}

TEST(Text, PrintableASCIIEndsBelowTheBlankAndAboveTheTilde) {
  EXPECT_TRUE(isPrintableASCII(""));
  EXPECT_TRUE(isPrintableASCII(" a~"));
  for (const char* other : {"\x1F", "\x7F", "\x80", "\xFF", "\t", "a\nb", "\u00E9"}) {
    EXPECT_FALSE(isPrintableASCII(other)) << other;
  }
}

TEST(Text, OverlongFormsAreNotValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xC0\x80"));
  EXPECT_FALSE(isValidUTF8("\xC1\xBF"));
  EXPECT_FALSE(isValidUTF8("\xE0\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xE0\x9F\xBF"));
  EXPECT_FALSE(isValidUTF8("\xF0\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF0\x8F\xBF\xBF"));
}

TEST(Text, SurrogatesAreNotValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xED\xA0\x80"));
  EXPECT_FALSE(isValidUTF8("\xED\xBF\xBF"));
}

TEST(Text, NothingAboveTheLastCodePointIsValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xF4\x90\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF5\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF8\x88\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xFF"));
}

TEST(Text, StrayAndMissingContinuationBytesAreNotValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\x80"));
  EXPECT_FALSE(isValidUTF8("12345678\xBF"));
  EXPECT_FALSE(isValidUTF8("\xC3"));
  EXPECT_FALSE(isValidUTF8("\xC3("));
  EXPECT_FALSE(isValidUTF8("\xE2\x82"));
  EXPECT_FALSE(isValidUTF8("\xE2\x82("));
  EXPECT_FALSE(isValidUTF8("\xF0\x9F\x98"));
  EXPECT_FALSE(isValidUTF8("\xF0\x9F\x98("));
  EXPECT_FALSE(isValidUTF8("12345678\xF0\x9F(\x80"));
}

TEST(Text, EveryByteIsTheLatin1CharacterOfItsNumber) {
  EXPECT_EQ(textFromLatin1("caf\xE9 \x80\xBF\xC0\xFF"), "caf\u00E9 \u0080\u00BF\u00C0\u00FF");
  EXPECT_EQ(textFromLatin1(std::string("a\0b"sv)), "a\0b"sv);
  EXPECT_EQ(textFromLatin1(""), "");
}

TEST(Text, ALatin1TextIsMeasuredAsUTF8) {
  EXPECT_EQ(textFromLatin1("ab\xE9", 4), "ab\u00E9");
  EXPECT_EQ(textFromLatin1("ab\xE9", 3), std::nullopt);
  EXPECT_EQ(textFromLatin1("ab\xE9", 0), std::nullopt);
  EXPECT_EQ(textFromLatin1("abc", 3), "abc");
  EXPECT_EQ(textFromLatin1("abc", 2), std::nullopt);
}

TEST(Text, Latin1BytesAreConvertedInTheirOwnMemory) {
  std::string bytes(1000, '\xE9');
  bytes.reserve(2000);
  const char* const data = bytes.data();
  const auto text = textFromLatin1(std::move(bytes));
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), 2000U);
  EXPECT_EQ(text->data(), data);
}

TEST(Text, UTF16LengthCountsTwoUnitsFromU10000Up) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\u00E4\u20AC\uFFFF"), 3U);
  EXPECT_EQ(utf16Length("\U00010000\U0010FFFF"), 4U);
}

TEST(Text, UTF16LengthOfLongTextsIsTheSumOfTheirParts) {
  std::string text;
  std::size_t units = 0;
  for (int i = 0; i < 1000; ++i) {
    text += "ab\u00E4\u20AC\U0001F600\U0001F600\U0001F600";
    units += 10;
    ASSERT_EQ(utf16Length(text), units);
  }
}

TEST(Text, AUTF16PrefixEndsBeforeTheCharacterThatDoesNotFit) {
  EXPECT_EQ(utf16Prefix("abc", 3), "abc");
  EXPECT_EQ(utf16Prefix("abc", 2), "ab");
  EXPECT_EQ(utf16Prefix("abc", 0), "");
  EXPECT_EQ(utf16Prefix("", 2), "");
  EXPECT_EQ(utf16Prefix("\u00E4\u20ACb", 2), "\u00E4\u20AC");
  EXPECT_EQ(utf16Prefix("a\U0001F600b", 2), "a");
  EXPECT_EQ(utf16Prefix("a\U0001F600b", 3), "a\U0001F600");
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

TEST(Text, TheLastPathComponentFollowsTheLastSlash) {
  EXPECT_EQ(lastPathComponent("pool/main/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent(""), "");
  EXPECT_EQ(lastPathComponent("a/.."), "..");
}

TEST(Text, TheLastPathComponentIgnoresTrailingSlashes) {
  EXPECT_EQ(lastPathComponent("pool/main/"), "main");
  EXPECT_EQ(lastPathComponent("pool//main///"), "main");
  EXPECT_EQ(lastPathComponent("/"), "");
  EXPECT_EQ(lastPathComponent("///"), "");
}

TEST(Text, TheLastPathComponentKeepsQueriesAndPercentSigns) {
  EXPECT_EQ(lastPathComponent("pool/a%20b.deb?x=1"), "a%20b.deb?x=1");
  EXPECT_EQ(lastPathComponent("get?file=pool/a.deb"), "a.deb");
  EXPECT_EQ(lastPathComponent("a/b\0c"sv), "b\0c"sv);
}

TEST(Text, JoinedPathsHaveExactlyOneSlashBetween) {
  EXPECT_EQ(joinPath("folder", "name"), "folder/name");
  EXPECT_EQ(joinPath("folder/", "name"), "folder/name");
  EXPECT_EQ(joinPath("/a/folder//", "name"), "/a/folder/name");
  EXPECT_EQ(joinPath("folder/", "/name"), "folder/name");
  EXPECT_EQ(joinPath("/", "name"), "/name");
}

TEST(Text, AnEmptyFolderLeavesTheNameAlone) {
  EXPECT_EQ(joinPath("", "name"), "name");
}

}  // namespace
}  // namespace tolvane
