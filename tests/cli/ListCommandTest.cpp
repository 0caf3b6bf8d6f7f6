// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/ListCommand.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

PackageEntry package(const std::string& name, const std::string& displayName,
                     const std::string& section = "Tweaks") {
  return PackageEntry({{"Package", name},
                       {"Name", displayName},
                       {"Version", "1.0"},
                       {"Architecture", "iphoneos-arm"},
                       {"Size", "1234"},
                       {"Section", section},
                       {"Filename", "debs/" + name + ".deb"}});
}

std::string printed(const std::vector<PackageEntry>& packages, const Options& options = {}) {
  std::ostringstream output;
  printPackages(packages, options, output);
  return output.str();
}

Options json() {
  Options options;
  options.json = true;
  return options;
}

TEST(ListCommand, PrintsATable) {
  EXPECT_EQ(printed({package("com.example.clock", "Big Clock"), package("b", "B", "Tabs")}),
            "Identifier         Version  Arch          Size  Section  Name\n"
            "com.example.clock  1.0      iphoneos-arm  1234  Tweaks   Big Clock\n"
            "b                  1.0      iphoneos-arm  1234  Tabs     B\n");
}

TEST(ListCommand, AnEmptyTableHasItsTitles) {
  EXPECT_EQ(printed({}), "Identifier  Version  Arch  Size  Section  Name\n");
}

TEST(ListCommand, AlignsWideCharacters) {
  EXPECT_EQ(printed({package("漢字", "x"), package("abcdefghijkl", "y")}),
            "Identifier    Version  Arch          Size  Section  Name\n"
            "漢字          1.0      iphoneos-arm  1234  Tweaks   x\n"
            "abcdefghijkl  1.0      iphoneos-arm  1234  Tweaks   y\n");
}

TEST(ListCommand, ALongTableIsCompleteOrderedAndAligned) {
  std::vector<std::string> names;
  for (int i = 0; i < 5000; ++i) names.push_back("p" + std::to_string(i));
  names.emplace_back("the.longest.identifier");
  std::vector<PackageEntry> packages;
  for (const std::string& name : names) packages.push_back(package(name, "x"));
  std::string expected = "Identifier              Version  Arch          Size  Section  Name\n";
  for (const std::string& name : names) {
    expected +=
        name + std::string(24 - name.size(), ' ') + "1.0      iphoneos-arm  1234  Tweaks   x\n";
  }
  EXPECT_EQ(printed(packages), expected);
}

TEST(ListCommand, ALongValueOverflowsItsColumn) {
  const std::string longName(60, 'n');
  const std::string table = printed({package(longName, "x"), package("b", "y")});
  EXPECT_EQ(table, "Identifier" + std::string(40, ' ') +
                       "Version  Arch          Size  Section  Name\n" + longName +
                       "  1.0      iphoneos-arm  1234  Tweaks   x\n" + "b" + std::string(49, ' ') +
                       "1.0      iphoneos-arm  1234  Tweaks   y\n");
}

TEST(ListCommand, SendsNoControlCharacterOfAPackage) {
  const std::string table = printed({package("a", "b\033[2Jc\nd")});
  EXPECT_TRUE(table.ends_with("Tweaks   b\uFFFD[2Jc\uFFFDd\n")) << table;
}

TEST(ListCommand, PrintsOneArrayOfObjects) {
  const auto array = nlohmann::json::parse(printed({package("a", "A"), package("b", "B")}, json()));
  ASSERT_EQ(array.size(), 2U);
  EXPECT_EQ(array[0].size(), PackageEntry::kTextCount + 2);
  EXPECT_EQ(array[0]["packageName"], "a");
  EXPECT_EQ(array[1]["packageName"], "b");
  EXPECT_EQ(array[1]["size"], "1234");
  EXPECT_EQ(array[1]["sha256"], "");
  EXPECT_EQ(array[1]["installer3Package"], false);
}

TEST(ListCommand, AnEmptyListIsAnEmptyArray) {
  EXPECT_EQ(printed({}, json()), "[]\n");
}

TEST(ListCommand, KeepsTheOrderAndTheDuplicatesOfTheIndex) {
  const auto array = nlohmann::json::parse(
      printed({package("b", "1"), package("a", "2"), package("b", "3")}, json()));
  std::vector<std::string> names;
  for (const auto& object : array) names.push_back(object["displayName"]);
  EXPECT_THAT(names, ElementsAre("1", "2", "3"));
}

TEST(ListCommand, SearchFiltersTheList) {
  Options options = json();
  options.search = " Ab ";
  const auto array = nlohmann::json::parse(
      printed({package("a", "A"), package("b", "B", "Tabs"), package("c", "Cable")}, options));
  std::vector<std::string> names;
  for (const auto& object : array) names.push_back(object["packageName"]);
  EXPECT_THAT(names, ElementsAre("b", "c"));
}

TEST(ListCommand, ASearchThatFindsNothingLeavesAnEmptyList) {
  Options options = json();
  options.search = "zebra";
  EXPECT_EQ(printed({package("a", "A")}, options), "[]\n");
}

}  // namespace
}  // namespace tolvane
