// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "base/UTF8.h"

namespace tolvane {
namespace {

using namespace std::string_view_literals;

TEST(UTF8, WellFormedUTF8IsValidUpToTheLastCodePoint) {
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

TEST(UTF8, PrintableASCIIEndsBelowTheBlankAndAboveTheTilde) {
  EXPECT_TRUE(isPrintableASCII(""));
  EXPECT_TRUE(isPrintableASCII(" a~"));
  for (const char* other : {"\x1F", "\x7F", "\x80", "\xFF", "\t", "a\nb", "\u00E9"}) {
    EXPECT_FALSE(isPrintableASCII(other)) << other;
  }
}

TEST(UTF8, OverlongFormsAreNotValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xC0\x80"));
  EXPECT_FALSE(isValidUTF8("\xC1\xBF"));
  EXPECT_FALSE(isValidUTF8("\xE0\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xE0\x9F\xBF"));
  EXPECT_FALSE(isValidUTF8("\xF0\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF0\x8F\xBF\xBF"));
}

TEST(UTF8, SurrogatesAreNotValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xED\xA0\x80"));
  EXPECT_FALSE(isValidUTF8("\xED\xBF\xBF"));
}

TEST(UTF8, NothingAboveTheLastCodePointIsValidUTF8) {
  EXPECT_FALSE(isValidUTF8("\xF4\x90\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF5\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xF8\x88\x80\x80\x80"));
  EXPECT_FALSE(isValidUTF8("\xFF"));
}

TEST(UTF8, StrayAndMissingContinuationBytesAreNotValidUTF8) {
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

TEST(UTF8, EveryByteIsTheLatin1CharacterOfItsNumber) {
  EXPECT_EQ(textFromLatin1("caf\xE9 \x80\xBF\xC0\xFF"), "caf\u00E9 \u0080\u00BF\u00C0\u00FF");
  EXPECT_EQ(textFromLatin1(std::string("a\0b"sv)), "a\0b"sv);
  EXPECT_EQ(textFromLatin1(""), "");
}

TEST(UTF8, ALatin1TextIsMeasuredAsUTF8) {
  EXPECT_EQ(textFromLatin1("ab\xE9", 4), "ab\u00E9");
  EXPECT_EQ(textFromLatin1("ab\xE9", 3), std::nullopt);
  EXPECT_EQ(textFromLatin1("ab\xE9", 0), std::nullopt);
  EXPECT_EQ(textFromLatin1("abc", 3), "abc");
  EXPECT_EQ(textFromLatin1("abc", 2), std::nullopt);
}

TEST(UTF8, Latin1BytesAreConvertedInTheirOwnMemory) {
  std::string bytes(1000, '\xE9');
  bytes.reserve(2000);
  const char* const data = bytes.data();
  const auto text = textFromLatin1(std::move(bytes));
  ASSERT_TRUE(text);
  EXPECT_EQ(text->size(), 2000U);
  EXPECT_EQ(text->data(), data);
}

TEST(UTF8, UTF16LengthCountsTwoUnitsFromU10000Up) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\u00E4\u20AC\uFFFF"), 3U);
  EXPECT_EQ(utf16Length("\U00010000\U0010FFFF"), 4U);
}

TEST(UTF8, UTF16LengthOfLongTextsIsTheSumOfTheirParts) {
  std::string text;
  std::size_t units = 0;
  for (int i = 0; i < 1000; ++i) {
    text += "ab\u00E4\u20AC\U0001F600\U0001F600\U0001F600";
    units += 10;
    ASSERT_EQ(utf16Length(text), units);
  }
}

TEST(UTF8, AUTF16PrefixEndsBeforeTheCharacterThatDoesNotFit) {
  EXPECT_EQ(utf16Prefix("abc", 3), "abc");
  EXPECT_EQ(utf16Prefix("abc", 2), "ab");
  EXPECT_EQ(utf16Prefix("abc", 0), "");
  EXPECT_EQ(utf16Prefix("", 2), "");
  EXPECT_EQ(utf16Prefix("\u00E4\u20ACb", 2), "\u00E4\u20AC");
  EXPECT_EQ(utf16Prefix("a\U0001F600b", 2), "a");
  EXPECT_EQ(utf16Prefix("a\U0001F600b", 3), "a\U0001F600");
}

}  // namespace
}  // namespace tolvane
