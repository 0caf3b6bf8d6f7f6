// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "tests/plist/PropertyListDump.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

TEST(XMLPropertyList, EveryKindOfValueIsRead) {
  EXPECT_EQ(dumpOf(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Example//DTD PLIST 1.0//EN" "http://dtd.example/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>text</key>    <string>a text</string>
  <key>integer</key> <integer>42</integer>
  <key>real</key>    <real>2.5</real>
  <key>true</key>    <true/>
  <key>false</key>   <false/>
  <key>date</key>    <date>2001-01-02T00:00:01Z</date>
  <key>data</key>    <data>AAEC/w==</data>
  <key>list</key>    <array><string>x</string><array/></array>
  <key>empty</key>   <dict></dict>
</dict>
</plist>
)"),
            R"({"text"="a text","integer"=42,"real"=2.5r,"true"=true,"false"=false,)"
            R"("date"=date 86401,"data"=<000102ff>,"list"=["x",[]],"empty"={}})");
}

TEST(XMLPropertyList, PrologueAndWrapperMayBeMissing) {
  EXPECT_EQ(dumpOf("<plist><true/></plist>"), "true");
  EXPECT_EQ(dumpOf("<?xml version='1.0'?><dict><key>a</key><true/></dict>"), R"({"a"=true})");
  EXPECT_EQ(dumpOf("<array><true/></array>"), "[true]");
  EXPECT_EQ(dumpOf("<string>x</string>"), R"("x")");
}

TEST(XMLPropertyList, WhiteSpaceBeforeThePrologueIsSkipped) {
  EXPECT_EQ(dumpOf("\r\n \t<?xml version='1.0'?><array/>"), "[]");
  EXPECT_EQ(dumpOf("\xEF\xBB\xBF\n<?xml version='1.0'?><array/>"), "[]");
}

TEST(XMLPropertyList, WhiteSpaceBeforeThePrologueCountsInTheLine) {
  EXPECT_EQ(dumpOf("\n\n<?xml version='1.0'?>\n<plist/>"),
            unreadable("<plist> is empty at line 4"));
  EXPECT_EQ(lineOfError("\n\n<array>\n</dict>"), "4");
}

TEST(XMLPropertyList, WhatFollowsTheClosingTagIsNotRead) {
  EXPECT_EQ(dumpOf("<plist><true/></plist><script>a && b</script>"), "true");
  EXPECT_EQ(dumpOf("<array/></dict>"), "[]");
}

TEST(XMLPropertyList, StringsKeepTheirWhiteSpace) {
  EXPECT_EQ(dumpOf("<array><string> a\n b\t</string><string/><string> </string></array>"),
            R"([" a\x0a b\x09",""," "])");
  EXPECT_EQ(dumpOf("<dict><key> a </key><true/></dict>"), R"({" a "=true})");
}

TEST(XMLPropertyList, ALineEndIsOneLineFeed) {
  EXPECT_EQ(dumpOf("<string>a\r\nb\rc&#13;</string>"), R"("a\x0ab\x0ac\x0d")");
}

TEST(XMLPropertyList, CDATAAndCommentsAreReadAsXMLSays) {
  EXPECT_EQ(dumpOf("<string>a<![CDATA[<b> & ]]>c<!-- not this -->d</string>"), R"("a<b> & cd")");
  EXPECT_EQ(dumpOf("<dict><!-- <key>b</key> --><key>a</key><!-- - --><true/></dict><!-- -->"),
            R"({"a"=true})");
  EXPECT_EQ(dumpOf("<array><?php echo 1; ?></array>"), "[]");
}

TEST(XMLPropertyList, TheFiveEntitiesAndCharacterReferencesAreReplaced) {
  EXPECT_EQ(dumpOf("<string>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</string>"),
            R"("<>&\x22'A\xf0\x9f\x98\x80")");
}

TEST(XMLPropertyList, NoOtherEntityIsReplaced) {
  EXPECT_EQ(lineOfError("<string>&nbsp;</string>"), "1");
  EXPECT_EQ(lineOfError("<!DOCTYPE plist [<!ENTITY a 'b'>]>\n<string>&a;</string>"), "2");
  EXPECT_EQ(dumpOf("<!DOCTYPE plist SYSTEM 'http://dtd.example/x.dtd'>\n<string>&a;</string>"),
            unreadable("there is an entity at line 2"));
}

TEST(XMLPropertyList, AnUnusedEntityIsIgnored) {
  EXPECT_EQ(dumpOf("<!DOCTYPE plist [<!ENTITY a SYSTEM 'file:///etc/hostname'>]><array/>"), "[]");
}

TEST(XMLPropertyList, AttributesMayNotBeDeclared) {
  EXPECT_EQ(dumpOf("<!DOCTYPE plist [<!ATTLIST plist a CDATA 'b'>]><array/>"),
            unreadable("attributes are declared at line 1"));
  EXPECT_EQ(dumpOf("<!DOCTYPE plist [<!ATTLIST plist a (b|c) 'b'>]><array/>"),
            unreadable("attributes are declared at line 1"));
}

TEST(XMLPropertyList, AttributesAreIgnored) {
  EXPECT_EQ(dumpOf("<plist xmlns:x='u' version='2.0'><string a='1'>b</string></plist>"), R"("b")");
}

TEST(XMLPropertyList, DeclaredEncodingsAreDecoded) {
  EXPECT_EQ(dumpOf("<?xml version='1.0' encoding='windows-1252'?><string>\x80</string>"),
            R"("\xe2\x82\xac")");
  EXPECT_EQ(dumpOf("<?xml version='1.0' encoding='Shift_JIS'?><string>\x83\x65</string>"),
            R"("\xe3\x83\x86")");
}

TEST(XMLPropertyList, BytesThatAreInvalidInTheEncodingAreAnError) {
  EXPECT_EQ(lineOfError("<string>\n\xE9t</string>"), "2");
  EXPECT_EQ(lineOfError("<?xml version='1.0' encoding='klingon'?><array/>"), "1");
  EXPECT_EQ(dumpOf("<?xml version='1.0' encoding='Shift_JIS'?><string>\x81\xFF\xFF</string>")
                .substr(0, 7),
            "error: ");
}

TEST(XMLPropertyList, IntegersReachFromTheLeastSignedToTheLargestUnsigned) {
  const auto integer = [](const std::string& text) {
    return dumpOf("<integer>" + text + "</integer>");
  };
  EXPECT_EQ(integer(" 7\n"), "7");
  EXPECT_EQ(integer("+7"), "7");
  EXPECT_EQ(integer("007"), "7");
  EXPECT_EQ(integer("0x1f"), "31");
  EXPECT_EQ(integer("-0X1F"), "-31");
  EXPECT_EQ(integer("-9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(integer("18446744073709551615"), "18446744073709551615");
  for (const auto* text : {"", " ", "-", "0x", "1.5", "12a", "--1", "1 2", "18446744073709551616",
                           "-9223372036854775809"}) {
    EXPECT_EQ(integer(text), unreadable("there is a malformed value at line 1")) << text;
  }
}

TEST(XMLPropertyList, RealsAreReadInAnyUsualForm) {
  const auto real = [](const std::string& text) { return dumpOf("<real>" + text + "</real>"); };
  EXPECT_EQ(real("0.5"), "0.5r");
  EXPECT_EQ(real(" -1e3 "), "-1000r");
  EXPECT_EQ(real("+2"), "2r");
  EXPECT_EQ(real("inf"), "infr");
  EXPECT_EQ(real("-Infinity"), "-infr");
  EXPECT_EQ(real("nan"), "nanr");
  for (const auto* text : {"", "x", "1,5", "1.5x", "--1", "+-1"}) {
    EXPECT_EQ(real(text), unreadable("there is a malformed value at line 1")) << text;
  }
}

TEST(XMLPropertyList, ADateIsACalendarDateWithTime) {
  const auto date = [](const std::string& text) { return dumpOf("<date>" + text + "</date>"); };
  EXPECT_EQ(date("2001-01-01T00:00:00Z"), "date 0");
  EXPECT_EQ(date("2000-12-31T23:59:59Z"), "date -1");
  EXPECT_EQ(date(" 2024-02-29T12:00:00Z "), "date 730900800");
  for (const auto* text : {"", "2023-02-29T12:00:00Z", "2024-02-28T24:00:00Z", "2024-02-28",
                           "2024-2-28T12:00:00Z", "2024-02-28T12:00:00", "-024-02-28T12:00:00Z",
                           "2024-02-28T1x:00:00Z", "2024-02-28 12:00:00Z"}) {
    EXPECT_EQ(date(text), unreadable("there is a malformed value at line 1")) << text;
  }
}

TEST(XMLPropertyList, DataIsBase64) {
  const auto data = [](const std::string& text) { return dumpOf("<data>" + text + "</data>"); };
  EXPECT_EQ(data(""), "<>");
  EXPECT_EQ(data("\n\tAAEC\n\t/w==\n"), "<000102ff>");
  EXPECT_EQ(data("+/8"), "<fbff>");
  EXPECT_EQ(data("TWFu"), "<4d616e>");
  for (const auto* text : {"A", "AAAAA", "A_==", "AA=A", "AA===", "AA*="}) {
    EXPECT_EQ(data(text), unreadable("there is a malformed value at line 1")) << text;
  }
}

TEST(XMLPropertyList, ABooleanHasNoContent) {
  EXPECT_EQ(dumpOf("<true> </true>"), "true");
  EXPECT_EQ(dumpOf("<false></false>"), "false");
  EXPECT_EQ(dumpOf("<true>no</true>"), unreadable("there is a malformed value at line 1"));
}

TEST(XMLPropertyList, KeysAndValuesComeInPairs) {
  EXPECT_EQ(dumpOf("<dict><key>a</key></dict>"),
            unreadable("there is a <key> without a value at line 1"));
  EXPECT_EQ(dumpOf("<dict><key>a</key><key>b</key><true/></dict>"),
            unreadable("there is a <key> without a value at line 1"));
  EXPECT_EQ(dumpOf("<dict><true/></dict>"),
            unreadable("there is a value without a <key> at line 1"));
  EXPECT_EQ(dumpOf("<dict><key>a</key><true/><dict/></dict>"),
            unreadable("there is a value without a <key> at line 1"));
  EXPECT_EQ(dumpOf("<array><key>a</key></array>"),
            unreadable("there is a <key> outside of a <dict> at line 1"));
  EXPECT_EQ(dumpOf("<key>a</key>"), unreadable("there is a <key> outside of a <dict> at line 1"));
}

TEST(XMLPropertyList, TheWrapperHoldsOneValue) {
  EXPECT_EQ(dumpOf("<plist/>"), unreadable("<plist> is empty at line 1"));
  EXPECT_EQ(dumpOf("<plist version='1.0'>\n</plist>"), unreadable("<plist> is empty at line 2"));
  EXPECT_EQ(dumpOf("<plist><true/><true/></plist>"),
            unreadable("there is a second value in <plist> at line 1"));
  EXPECT_EQ(dumpOf("<plist><plist><true/></plist></plist>"),
            unreadable("there is a <plist> inside the list at line 1"));
  EXPECT_EQ(dumpOf("<array><plist/></array>"),
            unreadable("there is a <plist> inside the list at line 1"));
}

TEST(XMLPropertyList, WhatIsNoPropertyListIsAnError) {
  EXPECT_EQ(dumpOf("<!DOCTYPE html>\n<html><body>Not here</body></html>"),
            unreadable("<html> is no element of a property list at line 2"));
  EXPECT_EQ(dumpOf("<string><b>x</b></string>"),
            unreadable("there is an element inside a text at line 1"));
  EXPECT_EQ(dumpOf("<array>x</array>"), unreadable("there is text between the values at line 1"));
  EXPECT_EQ(dumpOf("<dict><key>a</key><string>Tom & Jerry</string></dict>"),
            unreadable("xmlParseEntityRef: no name at line 1"));
  EXPECT_EQ(dumpOf("<" + std::string(300, 'x') + "/>"),
            unreadable("<...> is no element of a property list at line 1"));
}

TEST(XMLPropertyList, AnUnfinishedListIsAnError) {
  const std::string whole =
      "<?xml version='1.0'?><plist><dict><key>a</key><array><string>b</string>"
      "<data>AAAA</data><!-- c --></array></dict></plist>";
  ASSERT_EQ(dumpOf(whole), R"({"a"=["b",<000000>]})");
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(dumpOf(whole.substr(0, size)).substr(0, 7), "error: ") << whole.substr(0, size);
  }
}

}  // namespace
}  // namespace tolvane
