// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "tests/plist/PropertyListDump.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

TEST(TextPropertyList, EveryKindOfValueIsRead) {
  EXPECT_EQ(dumpOf(R"(
// A repository
{
    word = some.word-1_$/:x;   /* unquoted */
    "quoted" = "a text";
    'single' = 'it is "so"';
    list = (a, "b", (c), {}, );
    empty = ();
    inner = { key = value; };
    data = <0fbd77 1c2735ae>;
}
)"),
            R"({"word"="some.word-1_$/:x","quoted"="a text","single"="it is \x22so\x22",)"
            R"("list"=["a","b",["c"],{}],"empty"=[],"inner"={"key"="value"},)"
            R"("data"=<0fbd771c2735ae>})");
}

TEST(TextPropertyList, NumbersStayStrings) {
  EXPECT_EQ(dumpOf("{ size = 1234; version = 1.0.5; }"), R"({"size"="1234","version"="1.0.5"})");
}

TEST(TextPropertyList, TheRootMayBeAnyValue) {
  EXPECT_EQ(dumpOf("(a)"), R"(["a"])");
  EXPECT_EQ(dumpOf("\"two words\""), R"("two words")");
  EXPECT_EQ(dumpOf("<00 ff>"), "<00ff>");
  EXPECT_EQ(dumpOf("<>"), "<>");
}

TEST(TextPropertyList, CommentsAreAllowedWhereverWhiteSpaceIs) {
  EXPECT_EQ(dumpOf("/* { */{/**/a /* = */=// x\n b // ; \r;/***/}//"), R"({"a"="b"})");
  EXPECT_EQ(dumpOf("// nothing"), "{}");
  EXPECT_EQ(dumpOf("/* nothing */ "), "{}");
  EXPECT_EQ(dumpOf("{ url = http://repo.example//x; }"), R"({"url"="http://repo.example//x"})");
  EXPECT_EQ(dumpOf("{ a = \"/* b */ // c\"; }"), R"({"a"="/* b */ // c"})");
}

TEST(TextPropertyList, LettersAfterABackslashAreControlCharacters) {
  EXPECT_EQ(dumpOf(R"("\a\b\f\n\r\t\v")"), R"("\x07\x08\x0c\x0a\x0d\x09\x0b")");
}

TEST(TextPropertyList, OtherCharactersAfterABackslashAreThemselves) {
  EXPECT_EQ(dumpOf(R"("\"\\\'\x\?")"), R"("\x22\x5c'x?")");
  EXPECT_EQ(dumpOf("\"a\\\nb\""), R"("a\x0ab")");
  EXPECT_EQ(dumpOf("\"\\\xC3\xBC\""), R"("\xc3\xbc")");
}

TEST(TextPropertyList, OctalEscapesHaveUpToThreeDigits) {
  EXPECT_EQ(dumpOf(R"("\101\1012\7\78\18")"), R"("AA2\x07\x078\x018")");
  EXPECT_EQ(dumpOf(R"("\0")"), R"("\x00")");
}

TEST(TextPropertyList, OctalEscapesAboveASCIIAreNextStepCharacters) {
  EXPECT_EQ(dumpOf(R"("\200")"), R"("\xc2\xa0")");
  EXPECT_EQ(dumpOf(R"("\335")"), R"("\xc3\xa9")");      // é
  EXPECT_EQ(dumpOf(R"("\256")"), R"("\xef\xac\x81")");  // the ligature fi
  EXPECT_EQ(dumpOf(R"("\377")"), R"("\xef\xbf\xbd")");  // no character
}

TEST(TextPropertyList, UEscapesAreUTF16) {
  EXPECT_EQ(dumpOf(R"("\U00e9\U20AC5")"), R"("\xc3\xa9\xe2\x82\xac5")");
  EXPECT_EQ(dumpOf(R"("\Ud83d\Ude00")"), R"("\xf0\x9f\x98\x80")");
  EXPECT_EQ(dumpOf(R"("\Ud83d \Ude00")"), R"("\xef\xbf\xbd \xef\xbf\xbd")");
  EXPECT_EQ(dumpOf(R"("\Ue9")"), R"("\xc3\xa9")");
  EXPECT_EQ(dumpOf(R"("\Umm")"), R"("Umm")");
}

TEST(TextPropertyList, BareEntriesAreADictionary) {
  EXPECT_EQ(dumpOf("/* strings */\n\"a key\" = \"a value\";\nb = (c);\n"),
            R"({"a key"="a value","b"=["c"]})");
}

TEST(TextPropertyList, AKeyAloneIsItsOwnValue) {
  EXPECT_EQ(dumpOf("\"OK\";\n\"Cancel\";"), R"({"OK"="OK","Cancel"="Cancel"})");
  EXPECT_EQ(dumpOf("{ a; b = c; }"), R"({"a"="a","b"="c"})");
}

TEST(TextPropertyList, AFaultIsAnErrorThatNamesIt) {
  EXPECT_EQ(dumpOf("{ a = b }"), unreadable("an entry has no \";\" at its end at line 1"));
  EXPECT_EQ(dumpOf("{ a b; }"), unreadable("a key has no \"=\" or \";\" after it at line 1"));
  EXPECT_EQ(dumpOf("{ a = ; }"), unreadable("there is an unexpected character at line 1"));
  EXPECT_EQ(dumpOf("{ (a) = b; }"), unreadable("there is an unexpected character at line 1"));
  EXPECT_EQ(dumpOf("{ a = b; )"), unreadable("there is an unexpected character at line 1"));
  EXPECT_EQ(dumpOf("(a b)"), unreadable("a list has no \",\" or \")\" after a value at line 1"));
  EXPECT_EQ(dumpOf("(a,,b)"), unreadable("there is an unexpected character at line 1"));
  EXPECT_EQ(dumpOf("{ a = http://x.example/?b; }"),
            unreadable("an entry has no \";\" at its end at line 1"));
  EXPECT_EQ(dumpOf("<0f b>"), unreadable("data has an odd number of digits at line 1"));
  EXPECT_EQ(dumpOf("(<0g>)"),
            unreadable("data holds something else than hexadecimal digits at line 1"));
  EXPECT_EQ(dumpOf("<0f"), unreadable("data has no \">\" at line 1"));
}

TEST(TextPropertyList, NothingMayFollowTheList) {
  EXPECT_EQ(dumpOf("{ a = b; } c"), unreadable("something follows the list at line 1"));
  EXPECT_EQ(dumpOf("(a)\n}"), unreadable("something follows the list at line 2"));
  EXPECT_EQ(dumpOf("a = b;\n} c = d;"), unreadable("something follows the list at line 2"));
  EXPECT_EQ(dumpOf("two words"), unreadable("a key has no \"=\" or \";\" after it at line 1"));
}

TEST(TextPropertyList, AnUnterminatedStringCommentOrListIsAnError) {
  EXPECT_EQ(dumpOf("\n\"a\nb"), unreadable("a quoted text that begins here has no end at line 2"));
  EXPECT_EQ(dumpOf("\"a\\\""), unreadable("a quoted text that begins here has no end at line 1"));
  EXPECT_EQ(dumpOf("\"a\\"), unreadable("the list ends too early at line 1"));
  EXPECT_EQ(dumpOf("\n/* a\n"), unreadable("a comment that begins here has no end at line 2"));
  EXPECT_EQ(dumpOf("(a\r\r\n\n"),
            unreadable("a list has no \",\" or \")\" after a value at line 4"));
}

TEST(TextPropertyList, AnUnfinishedListIsAnError) {
  const std::string whole = R"({ a = (b, "c\U00e9"); /* d */ e = <00>; f = { g = h; }; })";
  ASSERT_EQ(dumpOf(whole), R"({"a"=["b","c\xc3\xa9"],"e"=<00>,"f"={"g"="h"}})");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(dumpOf(whole.substr(0, size)).substr(0, 7), "error: ") << whole.substr(0, size);
  }
}

TEST(TextPropertyList, TextIsUTF8) {
  EXPECT_EQ(dumpOf("{ \"Zürich\" = \"Zürich\"; }"), R"({"Z\xc3\xbcrich"="Z\xc3\xbcrich"})");
  EXPECT_EQ(dumpOf("{\n \"Z\xFCrich\" = a;\n }"),
            unreadable("there is a byte that is not UTF-8 at line 2"));
  EXPECT_EQ(dumpOf("{ Ürdingen = a; }"), unreadable("there is an unexpected character at line 1"));
}

TEST(TextPropertyList, RandomBytesAreAnError) {
  EXPECT_EQ(dumpOf("\x8B\x1F\x00\xFE"s), unreadable("there is a byte that is not UTF-8 at line 1"));
  EXPECT_EQ(dumpOf("\x01\x02"), unreadable("there is an unexpected character at line 1"));
  EXPECT_EQ(dumpOf("PK\x03\x04"), unreadable("a key has no \"=\" or \";\" after it at line 1"));
  EXPECT_EQ(dumpOf("\0"s), unreadable("there is an unexpected character at line 1"));
}

}  // namespace
}  // namespace tolvane
