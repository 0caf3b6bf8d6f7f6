// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "archive_client/ArchiveAnswer.h"

namespace tolvane {

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

bool isOK(const std::string& value) {
  return ArchiveAnswer("{\"ok\":" + value + "}").isOK();
}

std::string errorText(const std::string& value) {
  return ArchiveAnswer("{\"error\":" + value + "}").errorText("nothing said");
}

// UTF-16 or UTF-32 of an ASCII text.
std::string inUnitsOf(std::size_t size, bool bigEndian, std::string_view text) {
  std::string bytes;
  for (const char c : text) {
    std::string unit(size, '\0');
    unit[bigEndian ? size - 1 : 0] = c;
    bytes += unit;
  }
  return bytes;
}

TEST(ArchiveAnswer, OkIsTrueForTrueAndForNumbersOtherThanZero) {
  for (const char* value : {"true", "1", "-1", "0.5", "1e300", "18446744073709551615"}) {
    EXPECT_TRUE(isOK(value)) << value;
  }
  for (const char* value : {"false", "0", "-0", "0.0", "-0.0", "0e9"}) {
    EXPECT_FALSE(isOK(value)) << value;
  }
}

TEST(ArchiveAnswer, OkIsTrueForStringsThatBeginLikeYesTrueOrANumber) {
  for (const char* value : {"\"1\"", "\"true\"", "\"YES\"", "\"yes\"", "\"T\"", "\"  9\""}) {
    EXPECT_TRUE(isOK(value)) << value;
  }
  for (const char* value : {"\"\"", "\"0\"", "\"no\"", "\"ok\"", "\"-1\"", "\"01\""}) {
    EXPECT_FALSE(isOK(value)) << value;
  }
}

TEST(ArchiveAnswer, OkIsFalseForNullListsAndObjectsAndWhereItIsMissing) {
  for (const char* value : {"null", "[]", "[true]", "{}", "{\"ok\":true}"}) {
    EXPECT_FALSE(isOK(value)) << value;
  }
  EXPECT_FALSE(ArchiveAnswer("{}").isOK());
  EXPECT_FALSE(ArchiveAnswer(R"({"OK":true})").isOK());
}

TEST(ArchiveAnswer, AnErrorIsItsStringEvenAnEmptyOne) {
  EXPECT_EQ(errorText("\"Gr\\u00f6\u00dfe\""), "Größe");
  EXPECT_EQ(errorText("\"\""), "");
}

TEST(ArchiveAnswer, AnErrorThatIsANumberOrABooleanIsItsTextForm) {
  EXPECT_EQ(errorText("42"), "42");
  EXPECT_EQ(errorText("-7"), "-7");
  EXPECT_EQ(errorText("1.50"), "1.5");
  EXPECT_EQ(errorText("4.0"), "4");
  EXPECT_EQ(errorText("9007199254740993"), "9007199254740993");
  EXPECT_EQ(errorText("9223372036854775807"), "9223372036854775807");
  EXPECT_EQ(errorText("-9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(errorText("18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(errorText("true"), "1");
  EXPECT_EQ(errorText("false"), "0");
}

TEST(ArchiveAnswer, AnIntegerOfMoreThan64BitsIsShownAsAFloat) {
  EXPECT_EQ(errorText("18446744073709551616"), "1.844674407370955e+19");
  EXPECT_EQ(errorText("-9223372036854775809"), "-9.223372036854776e+18");
}

TEST(ArchiveAnswer, AnyOtherErrorCountsAsMissing) {
  for (const char* value : {"null", "[\"x\"]", "{\"text\":\"x\"}"}) {
    EXPECT_EQ(errorText(value), "nothing said") << value;
  }
  EXPECT_EQ(ArchiveAnswer("{}").errorText("nothing said"), "nothing said");
}

TEST(ArchiveAnswer, ListsAreValidButNoDictionaries) {
  for (const char* body : {"[]", "[1]", " [{\"ok\":true}] "}) {
    const ArchiveAnswer answer(body);
    EXPECT_FALSE(answer.isDictionary()) << body;
    EXPECT_EQ(answer.parseError(), std::nullopt) << body;
  }
}

TEST(ArchiveAnswer, BareValuesAreParseErrors) {
  for (const char* body : {"\"text\"", "1", "true", "false", "null"}) {
    const ArchiveAnswer answer(body);
    EXPECT_FALSE(answer.isDictionary()) << body;
    EXPECT_TRUE(answer.parseError()) << body;
  }
}

TEST(ArchiveAnswer, WhatIsNotJSONIsAParseError) {
  for (const auto& body : {" "sv,
                           "{"sv,
                           "{\"ok\":true"sv,
                           "{\"ok\":true}x"sv,
                           "{\"ok\":true}{}"sv,
                           "{ok:true}"sv,
                           "{\"ok\":true,}"sv,
                           "{\"ok\":01}"sv,
                           "{\"ok\":1e999}"sv,
                           "{\"ok\":tru}"sv,
                           "<html>"sv,
                           "{\"a\":\"\n\"}"sv,
                           "{\"a\":\"\\ud800\"}"sv,
                           "{}\0"sv,
                           "{}\0x"sv,
                           "{\"a\":\"\0\"}"sv,
                           "// x\n{}"sv,
                           "\xFF"sv,
                           "{\"a\":\"\xC0\x80\"}"sv,
                           "{\"a\":\"\xED\xA0\x80\"}"sv}) {
    const ArchiveAnswer answer(body);
    ASSERT_TRUE(answer.parseError()) << body;
    EXPECT_EQ(answer.parseError()->domain, "NSCocoaErrorDomain") << body;
    EXPECT_EQ(answer.parseError()->code, 3840) << body;
    EXPECT_FALSE(answer.isDictionary()) << body;
  }
}

TEST(ArchiveAnswer, AParseErrorQuotesNothingOfTheBody) {
  EXPECT_EQ(ArchiveAnswer("{\"ok\": secret}").parseError()->description,
            "The answer is not JSON that can be read: it goes wrong at character 8.");
  EXPECT_LT(ArchiveAnswer("\"" + std::string(1'000'000, 'x')).parseError()->description.size(),
            100u);
}

TEST(ArchiveAnswer, UTF16AndUTF32AreReadWithOrWithoutAMark) {
  for (const bool bigEndian : {false, true}) {
    for (const std::size_t size : {2u, 4u}) {
      const std::string body = inUnitsOf(size, bigEndian, R"({"ok":true,"error":"x"})");
      std::string mark = bigEndian ? std::string(size - 2, '\0') + "\xFE\xFF"
                                   : "\xFF\xFE" + std::string(size - 2, '\0');
      EXPECT_TRUE(ArchiveAnswer(body).isOK()) << size << bigEndian;
      EXPECT_TRUE(ArchiveAnswer(mark + body).isOK()) << size << bigEndian;
      EXPECT_TRUE(ArchiveAnswer(body.substr(0, body.size() - 1)).parseError()) << size << bigEndian;
      EXPECT_TRUE(ArchiveAnswer(mark).parseError()) << size << bigEndian;
    }
  }
  EXPECT_TRUE(ArchiveAnswer("\xEF\xBB\xBF{\"ok\":true}").isOK());
}

TEST(ArchiveAnswer, CharactersBeyondASCIISurviveTheirEncoding) {
  const std::string begin = inUnitsOf(2, false, "{\"error\":\"");
  const std::string end = inUnitsOf(2, false, "\"}");
  EXPECT_EQ(ArchiveAnswer(begin + "\xF6" + std::string(1, '\0') + "\x3D\xD8\x00\xDE"s + end)
                .errorText(""),
            "ö\U0001F600");
}

TEST(ArchiveAnswer, WhatIsMalformedInUTF16IsAParseError) {
  const std::string begin = inUnitsOf(2, false, "{\"error\":\"");
  const std::string end = inUnitsOf(2, false, "\"}");
  for (const auto& units : {"\x3D\xD8"sv,                  // the first half of a pair alone
                            "\x00\xDE"sv,                  // the second half alone
                            "\x00\xDE\x3D\xD8"sv,          // the wrong way round
                            "\x3D\xD8\x3D\xD8\x00\xDE"sv,  // one too many
                            "\x3D\xD8x\0"sv, "x"sv}) {
    const ArchiveAnswer answer(begin + std::string(units) + end);
    ASSERT_TRUE(answer.parseError());
    EXPECT_EQ(answer.parseError()->code, 3840);
  }
  EXPECT_TRUE(ArchiveAnswer(begin + "\x3D\xD8"s).parseError());
  EXPECT_TRUE(ArchiveAnswer(begin + end + "\x3D\xD8"s).parseError());
}

TEST(ArchiveAnswer, WhatIsNoCharacterInUTF32IsAParseError) {
  const std::string begin = inUnitsOf(4, true, "{\"error\":\"");
  const std::string end = inUnitsOf(4, true, "\"}");
  EXPECT_EQ(ArchiveAnswer(begin + "\0\x10\xFF\xFD"s + end).errorText(""), "\U0010FFFD");
  for (const auto& unit :
       {"\0\0\xD8\x3D"sv, "\0\0\xDE\0"sv, "\0\x11\0\0"sv, "\xFF\xFF\xFF\xFF"sv, "\0\0\0"sv}) {
    EXPECT_TRUE(ArchiveAnswer(begin + std::string(unit) + end).parseError());
  }
}

TEST(ArchiveAnswer, ListsMayBeNested256DeepAndNoDeeper) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_EQ(ArchiveAnswer(nested(256)).parseError(), std::nullopt);
  EXPECT_TRUE(ArchiveAnswer(nested(257)).parseError());
  EXPECT_TRUE(ArchiveAnswer(std::string(1'000'000, '[')).parseError());
  EXPECT_TRUE(ArchiveAnswer("{\"a\":" + nested(256) + "}").parseError());
}

TEST(ArchiveAnswer, ItMayBeAHundredMegabytesLong) {
  // As an archive would send it that lacks every package of a huge repository.
  std::string body = R"({"ok":true,"missing_packages":[)";
  std::size_t count = 0;
  for (; body.size() < 100'000'000; ++count) {
    body.append(R"({"identifier":"com.example.package)").append(std::to_string(count));
    body.append(R"(","version":"1.0","original_url":"https://repo.example/pool/main/c/)");
    body.append(R"(com.example.package/com.example.package_1.0_iphoneos-arm.deb"},)");
  }
  body.back() = ']';
  body += '}';
  ArchiveAnswer answer(body);
  ASSERT_TRUE(answer.isOK()) << describe(answer.parseError());
  const nlohmann::json& list = *answer.find("missing_packages");
  ASSERT_EQ(list.size(), count);
  EXPECT_EQ(list.back()["identifier"], "com.example.package" + std::to_string(count - 1));
}

TEST(ArchiveAnswer, ItMayHaveTenMillionValuesAndNoMore) {
  std::string body = "[0";
  for (int i = 2; i < 10'000'000; ++i) body += ",0";  // the list is one as well
  EXPECT_EQ(ArchiveAnswer(body + "]").parseError(), std::nullopt);
  EXPECT_EQ(ArchiveAnswer(body + ",[]]").parseError()->description,
            "The answer is not JSON that can be read: it has more than 10,000,000 values.");
}

TEST(ArchiveAnswer, TheLastOfMembersWithOneNameCounts) {
  EXPECT_FALSE(ArchiveAnswer(R"({"ok":true,"ok":false})").isOK());
  EXPECT_EQ(ArchiveAnswer(R"({"error":["x"],"error":"y"})").errorText(""), "y");
}

TEST(ArchiveAnswer, ItsValueIsWhatTheLibraryReads) {
  const std::string value =
      R"({"a":[1,-2,3.5,"x",null,true,[],{}],"b":{"c":{"d":[[{"e":"f"}],[0]]}},"":[{"g":[]},{}]})";
  ArchiveAnswer answer("{\"ok\":" + value + "}");
  EXPECT_EQ(*answer.find("ok"), nlohmann::json::parse(value));
}

TEST(ArchiveAnswer, APreviewIsTheTextUpToItsLimit) {
  EXPECT_EQ(previewOf("four", 4), "four");
  EXPECT_EQ(previewOf("fives", 4), "five...");
  EXPECT_EQ(previewOf("\xFE", 4), "<non-utf8 response>");
}

}  // namespace

}  // namespace tolvane
