// SPDX-License-Identifier: MIT
#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "plist/PropertyList.h"
#include "tests/plist/BinaryListBuilder.h"
#include "tests/plist/PropertyListDump.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

std::optional<std::string> formOf(PropertyList::Value value) {
  return PropertyList{std::move(value)}.textForm();
}

std::optional<std::string> formOfReal(double value, bool fourBytes = false) {
  return formOf(PropertyList::Real{value, fourBytes});
}

// ASCII text in UTF-16.
std::string inUTF16(std::string_view text, bool isBigEndian) {
  std::string bytes;
  for (const char c : text) bytes += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
  return bytes;
}

TEST(PropertyList, AStringIsItsOwnTextForm) {
  EXPECT_EQ(formOf("Zürich"s), "Zürich");
  EXPECT_EQ(formOf(""s), "");
  EXPECT_EQ(formOf("a\0b"s), "a\0b"s);
}

TEST(PropertyList, TheTextFormOfAnIntegerIsDecimal) {
  EXPECT_EQ(formOf(PropertyList::Integer{0}), "0");
  EXPECT_EQ(formOf(PropertyList::Integer{-1}), "-1");
  EXPECT_EQ(formOf(std::numeric_limits<PropertyList::Integer>::min()), "-9223372036854775808");
  EXPECT_EQ(formOf(std::numeric_limits<PropertyList::Integer>::max()), "9223372036854775807");
  EXPECT_EQ(formOf(std::numeric_limits<PropertyList::LargeInteger>::max()), "18446744073709551615");
}

TEST(PropertyList, TheTextFormOfABooleanIsOneOrZero) {
  EXPECT_EQ(formOf(true), "1");
  EXPECT_EQ(formOf(false), "0");
}

TEST(PropertyList, TheTextFormOfARealHasSixteenDigits) {
  EXPECT_EQ(formOfReal(0.1 + 0.2), "0.3");
  EXPECT_EQ(formOfReal(2.0), "2");
  EXPECT_EQ(formOfReal(1.05), "1.05");
  EXPECT_EQ(formOfReal(-0.5), "-0.5");
  EXPECT_EQ(formOfReal(1.0 / 3), "0.3333333333333333");
  EXPECT_EQ(formOfReal(1e15), "1000000000000000");
  EXPECT_EQ(formOfReal(1e16), "1e+16");
  EXPECT_EQ(formOfReal(0.00001), "1e-05");
  EXPECT_EQ(formOfReal(-0.0), "-0");
  EXPECT_EQ(formOfReal(HUGE_VAL), "inf");
}

TEST(PropertyList, TheTextFormOfAFourByteRealHasSevenDigits) {
  EXPECT_EQ(formOfReal(1.1F, true), "1.1");
  EXPECT_EQ(formOfReal(1.1F, false), "1.100000023841858");
  EXPECT_EQ(formOfReal(2.0F, true), "2");
  EXPECT_EQ(formOfReal(16777216.0F, true), "1.677722e+07");
}

TEST(PropertyList, OtherKindsHaveNoTextForm) {
  EXPECT_EQ(formOf({}), std::nullopt);
  EXPECT_EQ(formOf(PropertyList::Date{0}), std::nullopt);
  EXPECT_EQ(formOf(PropertyList::Data{"x"}), std::nullopt);
  EXPECT_EQ(formOf(PropertyList::List{}), std::nullopt);
  EXPECT_EQ(formOf(PropertyList::Dictionary{}), std::nullopt);
}

TEST(PropertyList, OfARepeatedKeyTheLastValueCounts) {
  const auto result = readPropertyList("{ a = 1; b = 2; a = 3; }");
  ASSERT_TRUE(result.value && result.value->dictionary());
  const auto* dictionary = result.value->dictionary();
  ASSERT_NE(dictionary->find("a"), nullptr);
  EXPECT_EQ(dictionary->find("a")->textForm(), "3");
  EXPECT_EQ(dictionary->find("b")->textForm(), "2");
  EXPECT_EQ(dictionary->find("c"), nullptr);
  EXPECT_EQ(dictionary->find("A"), nullptr);
}

TEST(PropertyList, AValueIsSeenOnlyAsTheKindItIs) {
  const PropertyList text{"x"s};
  EXPECT_EQ(text.dictionary(), nullptr);
  EXPECT_EQ(text.list(), nullptr);
  ASSERT_NE(text.text(), nullptr);
  EXPECT_EQ(PropertyList{PropertyList::List{}}.text(), nullptr);
  EXPECT_EQ(PropertyList{PropertyList::Integer{1}}.text(), nullptr);
}

TEST(PropertyList, TheFormatIsRecognisedByTheBytes) {
  EXPECT_EQ(dumpOf("<plist><string>x</string></plist>"), R"("x")");
  EXPECT_EQ(dumpOf("<?xml version='1.0'?><array/>"), "[]");
  EXPECT_EQ(dumpOf("<!-- x --><array/>"), "[]");
  EXPECT_EQ(dumpOf(binaryList({"\x51x"})), R"("x")");
  EXPECT_EQ(dumpOf("{a=b;}"), R"({"a"="b"})");
  EXPECT_EQ(dumpOf("<da da>"), "<dada>");
  EXPECT_EQ(dumpOf("<data>2to=</data>"), "<dada>");
}

TEST(PropertyList, WhatBeginsAsBinaryIsNothingElse) {
  EXPECT_EQ(dumpOf("bplist"), unreadable("the file is cut short at offset 6"));
  EXPECT_EQ(dumpOf("bplist = 1;"), unreadable("the file is cut short at offset 11"));
  EXPECT_EQ(dumpOf(" bplist"), R"("bplist")");
}

TEST(PropertyList, WhiteSpaceAloneIsAnEmptyDictionary) {
  for (const auto* bytes : {" ", "\n", "\t\r\n \v\f", "\xEF\xBB\xBF", "\xEF\xBB\xBF\n"}) {
    EXPECT_EQ(dumpOf(bytes), "{}") << bytes;
  }
  EXPECT_EQ(dumpOf("\xFF\xFE"), "{}");
  EXPECT_EQ(dumpOf("\xFE\xFF\0 "s), "{}");
}

TEST(PropertyList, NoBytesAtAllAreAnError) {
  EXPECT_EQ(dumpOf(""), unreadable("there are no bytes at offset 0"));
}

TEST(PropertyList, OneBareWordIsAString) {
  EXPECT_EQ(dumpOf("Unavailable"), R"("Unavailable")");
  EXPECT_EQ(dumpOf(" http://repo.example/x.plist \n"), R"("http://repo.example/x.plist")");
}

TEST(PropertyList, AnErrorHasTheReadersDomainAndCode) {
  const auto result = readPropertyList("{");
  EXPECT_FALSE(result.value);
  EXPECT_EQ(describe(result.error),
            "Error Domain=NSCocoaErrorDomain Code=3840 "
            "\"The property list cannot be read: a dictionary has no \"}\" at line 1.\"");
}

TEST(PropertyList, AnErrorNamesTheLineOfXMLAndTextAndTheOffsetOfBinary) {
  EXPECT_EQ(dumpOf("<array>\n\n<sting/></array>"),
            unreadable("<sting> is no element of a property list at line 3"));
  EXPECT_EQ(dumpOf("(a,\n b,\r\n c d)"),
            unreadable("a list has no \",\" or \")\" after a value at line 3"));
  EXPECT_EQ(dumpOf(binaryList({"\x0F"})), unreadable("0x0f is no kind of object at offset 8"));
}

TEST(PropertyList, NumbersHaveTheSameTextFormsInEveryFormat) {
  const auto forms = [](std::string_view bytes) {
    const auto result = readPropertyList(bytes);
    const auto* dictionary = result.value ? result.value->dictionary() : nullptr;
    if (dictionary == nullptr) return std::string("unreadable");
    return *dictionary->find("size")->textForm() + " " + *dictionary->find("version")->textForm();
  };
  EXPECT_EQ(forms("<dict><key>size</key><integer>1234</integer>"
                  "<key>version</key><real>1.05</real></dict>"),
            "1234 1.05");
  const std::string real = "\x23" + bigEndian(0x3FF0CCCCCCCCCCCD, 8);
  EXPECT_EQ(
      forms(binaryList({"\xD2\x01\x02\x03\x04", "\x54size", "\x57version", "\x11\x04\xD2", real})),
      "1234 1.05");
  EXPECT_EQ(forms("{ size = 1234; version = 1.05; }"), "1234 1.05");
}

TEST(PropertyList, TheSameListReadsTheSameInFiveEncodings) {
  const std::string list = "<plist><array><string>Z\xC3\xBCrich</string></array></plist>";
  const std::string ascii = "<plist><array><string>Z&#252;rich</string></array></plist>";
  const std::string latin1 =
      "<?xml version='1.0' encoding='ISO-8859-1'?>"
      "<plist><array><string>Z\xFCrich</string></array></plist>";
  const std::string declared = "<?xml version='1.0' encoding='UTF-16'?>" + ascii;
  const std::string expected = R"(["Z\xc3\xbcrich"])";
  EXPECT_EQ(dumpOf(list), expected);
  EXPECT_EQ(dumpOf("\xEF\xBB\xBF" + list), expected);
  EXPECT_EQ(dumpOf("\xFE\xFF" + inUTF16(declared, true)), expected);
  EXPECT_EQ(dumpOf("\xFF\xFE" + inUTF16(declared, false)), expected);
  EXPECT_EQ(dumpOf(latin1), expected);
}

TEST(PropertyList, XMLInUTF16NeedsNoByteOrderMark) {
  for (const bool isBigEndian : {true, false}) {
    EXPECT_EQ(dumpOf(inUTF16("<?xml version='1.0' encoding='utf-16'?><array/>", isBigEndian)),
              "[]");
    EXPECT_EQ(dumpOf(inUTF16("<array/>", isBigEndian)), "[]");
  }
}

TEST(PropertyList, AByteOrderMarkOverridesTheDeclaration) {
  const std::string wrong = "<?xml version='1.0' encoding='ISO-8859-1'?><string>\xC3\xBC</string>";
  EXPECT_EQ(dumpOf("\xEF\xBB\xBF" + wrong), R"("\xc3\xbc")");
  EXPECT_EQ(dumpOf(wrong), R"("\xc3\x83\xc2\xbc")");
}

TEST(PropertyList, OldStyleTextMayBeUTF16WithAByteOrderMark) {
  EXPECT_EQ(dumpOf("\xFE\xFF" + inUTF16("{ a = b; }", true)), R"({"a"="b"})");
  EXPECT_EQ(dumpOf("\xFF\xFE" + inUTF16("\"a\" = \"b\";\n", false)), R"({"a"="b"})");
}

TEST(PropertyList, InUTF16HalfACharacterIsReplaced) {
  EXPECT_EQ(dumpOf("\xFE\xFF\0\"\xD8\x3D\xDE\0\0\""s), R"("\xf0\x9f\x98\x80")");
  EXPECT_EQ(dumpOf("\xFE\xFF\0\"\xD8\x3D\0\""s), R"("\xef\xbf\xbd")");
  EXPECT_EQ(dumpOf("\xFE\xFF\0\"\xDE\0\0\""s), R"("\xef\xbf\xbd")");
  EXPECT_EQ(dumpOf("\xFE\xFF\0(\0"s), unreadable("there is an unexpected character at line 1"));
}

}  // namespace
}  // namespace tolvane
