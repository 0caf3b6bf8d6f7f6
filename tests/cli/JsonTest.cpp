// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "cli/Json.h"

namespace tolvane {
namespace {

TEST(Json, ARecordHasAllItsFieldsUnderTheirNamesInTheirOrder) {
  PackageEntry package;
  package.setInstaller4Package(true);
  for (std::size_t i = 0; i < PackageEntry::kTextCount; ++i) {
    package.setText(static_cast<PackageEntry::Field>(i), "text " + std::to_string(i));
  }
  EXPECT_EQ(jsonText(jsonObject(package)),
            R"({"installer4Package":true,"installer3Package":false,)"
            R"("packageName":"text 0","displayName":"text 1","version":"text 2",)"
            R"("architecture":"text 3","filename":"text 4","size":"text 5","md5sum":"text 6",)"
            R"("sha256":"text 7","packageDescription":"text 8","section":"text 9",)"
            R"("depends":"text 10","author":"text 11","maintainer":"text 12",)"
            R"("homepage":"text 13","depiction":"text 14","packageInfoURL":"text 15",)"
            R"("downloadURL":"text 16"})");
}

TEST(Json, EachNameBelongsToItsField) {
  PackageEntry package;
  package.setInstaller3Package(true);
  package.setMd5sum("m");
  package.setHomepage("h");
  package.setDownloadURL("d");
  const auto object = jsonObject(package);
  EXPECT_EQ(object.at("installer3Package"), true);
  EXPECT_EQ(object.at("md5sum"), "m");
  EXPECT_EQ(object.at("homepage"), "h");
  EXPECT_EQ(object.at("downloadURL"), "d");
  EXPECT_EQ(object.at("packageName"), "");
}

TEST(Json, KeepsLettersOfEveryScript) {
  EXPECT_EQ(jsonText("Ünïcode 漢字 \u00A0"), "\"Ünïcode 漢字 \u00A0\"");
}

TEST(Json, EscapesEveryControlCharacter) {
  const std::string hostile = "\033[31m\n\x7F\u0080\u009B\u009F";
  const std::string text = jsonText(hostile);
  EXPECT_EQ(text, R"("\u001b[31m\n\u007f\u0080\u009b\u009f")");
  EXPECT_EQ(nlohmann::json::parse(text), hostile);
}

TEST(Json, EscapesLineSeparatorsAndBidirectionalControls) {
  const std::string controls = "\u2028\u2029\u202A\u202E\u2066\u2069";
  const std::string text = jsonText("a" + controls + "\u2027\u202F");
  EXPECT_EQ(text, R"("a\u2028\u2029\u202a\u202e\u2066\u2069)"
                  "\u2027\u202F\"");
  EXPECT_EQ(nlohmann::json::parse(text), "a" + controls + "\u2027\u202F");
}

TEST(Json, ReplacesBytesThatAreNotUTF8) {
  EXPECT_EQ(jsonText("a\xFF"
                     "b"),
            "\"a\uFFFDb\"");
}

}  // namespace
}  // namespace tolvane
