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

TEST(ArchiveAnswer, OkIsTrueForTextsThatBeginLikeYesTrueOrANumber) {
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

TEST(ArchiveAnswer, AnErrorIsItsTextEvenAnEmptyOne) {
  EXPECT_EQ(errorText("\"Gr\\u00f6\u00dfe\""), "Größe");
  EXPECT_EQ(errorText("\"\""), "");
}

TEST(ArchiveAnswer, AnErrorThatIsANumberOrABooleanIsItsTextForm) {
  EXPECT_EQ(errorText("42"), "42");
  EXPECT_EQ(errorText("-7"), "-7");
  EXPECT_EQ(errorText("1.50"), "1.5");
  EXPECT_EQ(errorText("4.0"), "4");
  EXPECT_EQ(errorText("18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(errorText("true"), "1");
  EXPECT_EQ(errorText("false"), "0");
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

TEST(ArchiveAnswer, ListsMayBeNested256DeepAndNoDeeper) {
  const auto nested = [](std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
  };
  EXPECT_EQ(ArchiveAnswer(nested(256)).parseError(), std::nullopt);
  EXPECT_TRUE(ArchiveAnswer(nested(257)).parseError());
  EXPECT_TRUE(ArchiveAnswer(std::string(1'000'000, '[')).parseError());
  EXPECT_TRUE(ArchiveAnswer("{\"a\":" + nested(256) + "}").parseError());
}

TEST(ArchiveAnswer, MayHoldAMillionValuesAndNoMore) {
  std::string body = "[0";
  for (int i = 2; i < 1'000'000; ++i) body += ",0";  // the list is one as well
  EXPECT_EQ(ArchiveAnswer(body + "]").parseError(), std::nullopt);
  EXPECT_TRUE(ArchiveAnswer(body + ",0]").parseError());
}

TEST(ArchiveAnswer, APreviewIsTheTextUpToItsLimit) {
  EXPECT_EQ(previewOf("four", 4), "four");
  EXPECT_EQ(previewOf("fives", 4), "five...");
  EXPECT_EQ(previewOf("\xFE", 4), "<non-utf8 response>");
}

}  // namespace

}  // namespace tolvane
