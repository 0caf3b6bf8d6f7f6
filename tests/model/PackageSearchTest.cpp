// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "model/PackageSearch.h"

namespace tolvane {
namespace {

using Field = PackageEntry::Field;

PackageEntry packageWith(Field field, std::string_view text) {
  PackageEntry package;
  package.setText(field, text);
  return package;
}

bool finds(std::string_view query, const PackageEntry& package) {
  return !PackageSearch({&package, 1}).packagesMatching(query).empty();
}

TEST(PackageSearch, FindsATextInsideAWordWhateverItsCase) {
  const PackageEntry package = packageWith(Field::section, "Tabs");
  EXPECT_TRUE(finds("Ab", package));
  EXPECT_TRUE(finds("TABS", package));
  EXPECT_FALSE(finds("tables", package));
}

TEST(PackageSearch, LooksIntoEightFieldsAndNoOther) {
  const std::vector<Field> searched{
      Field::displayName, Field::packageName, Field::packageDescription, Field::section,
      Field::author,      Field::maintainer,  Field::filename,           Field::version};
  for (std::size_t i = 0; i < PackageEntry::kTextCount; ++i) {
    const auto field = static_cast<Field>(i);
    const bool expected = std::find(searched.begin(), searched.end(), field) != searched.end();
    EXPECT_EQ(finds("needle", packageWith(field, "a Needle b")), expected) << "field " << i;
  }
}

TEST(PackageSearch, DoesNotSplitTheQueryIntoWords) {
  PackageEntry package = packageWith(Field::displayName, "Big Clock");
  EXPECT_TRUE(finds("big clock", package));
  EXPECT_FALSE(finds("clock big", package));
  package.setVersion("1.0");
  EXPECT_FALSE(finds("clock1", package));
}

TEST(PackageSearch, IgnoresWhiteSpaceAroundTheQuery) {
  const PackageEntry package = packageWith(Field::displayName, "Clock");
  EXPECT_TRUE(finds(" \t clock\n", package));
}

TEST(PackageSearch, FindsEverythingForAQueryOfBlanks) {
  EXPECT_TRUE(finds("  ", PackageEntry()));
  EXPECT_TRUE(finds("", PackageEntry()));
}

TEST(PackageSearch, KnowsNoWildcardsAndFoldsNoAccents) {
  const PackageEntry package = packageWith(Field::displayName, "Café");
  EXPECT_FALSE(finds("caf*", package));
  EXPECT_FALSE(finds("cafe", package));
  EXPECT_TRUE(finds("CAFÉ", package));
}

// Letters are lowered in blocks: neither length nor place may matter.
TEST(PackageSearch, FindsATextAtEveryPlaceOfATextOfEveryLength) {
  for (const std::size_t length : {1, 31, 32, 33, 63, 64, 65, 1000, 1023, 1024, 1025, 5000}) {
    for (std::size_t at = 0; at + 3 <= length; at += 1 + length / 40) {
      std::string text(length, 'x');
      text.replace(at, 3, "Key");
      EXPECT_TRUE(finds("kEY", packageWith(Field::packageDescription, text)))
          << length << " " << at;
      text.replace(at, 3, "Kex");
      EXPECT_FALSE(finds("key", packageWith(Field::packageDescription, text)))
          << length << " " << at;
    }
  }
}

TEST(PackageSearch, CharactersNextToTheAlphabetAreNotChanged) {
  EXPECT_FALSE(finds("`", packageWith(Field::displayName, "@")));
  EXPECT_FALSE(finds("{", packageWith(Field::displayName, "[")));
  EXPECT_TRUE(finds("az", packageWith(Field::displayName, "AZ")));
}

TEST(PackageSearch, ALetterOutsideASCIIMayHaveALowerCaseWithinIt) {
  EXPECT_TRUE(finds("kelvin", packageWith(Field::displayName, "\u212Aelvin")));
}

TEST(PackageSearch, GivesThePackagesInTheirOrder) {
  std::vector<PackageEntry> packages;
  for (const char* name : {"b1", "a", "b0", "", "b2"}) {
    packages.push_back(packageWith(Field::displayName, name));
  }
  std::vector<std::string> found;
  for (const PackageEntry& package : PackageSearch(packages).packagesMatching("B")) {
    found.emplace_back(package.displayName());
  }
  EXPECT_THAT(found, testing::ElementsAre("b1", "b0", "b2"));
  EXPECT_EQ(PackageSearch(packages).packagesMatching("").size(), packages.size());
  EXPECT_TRUE(PackageSearch({}).packagesMatching("").empty());
}

// Whatever could be between two fields: nothing, white space or a control character.
TEST(PackageSearch, FindsNothingThatSpansTwoFieldsOrTwoPackages) {
  std::vector<PackageEntry> packages(2, packageWith(Field::displayName, "big"));
  for (PackageEntry& package : packages) package.setVersion("big");
  const PackageSearch search(packages);
  for (int between = -1; between < 0x100; ++between) {
    std::string query = "gb";
    if (between >= 0) query.insert(1, 1, static_cast<char>(between));
    EXPECT_TRUE(search.packagesMatching(query).empty()) << between;
    packages[0].setSection("x" + query + "x");
    EXPECT_EQ(PackageSearch(packages).packagesMatching(query).size(), 1u) << between;
    packages[0].setSection("");
  }
}

TEST(PackageSearch, LowersEachFieldByItself) {
  // A capital sigma at the end of a word has another lower case than within one.
  PackageEntry package = packageWith(Field::displayName, "\u039F\u03A3");
  package.setPackageName("\u039F");
  EXPECT_TRUE(finds("\u03BF\u03C2", package));
  EXPECT_FALSE(finds("\u03BF\u03C3", package));
  EXPECT_TRUE(packageEntryMatchesSearchQuery(package, "\u03BF\u03C2"));
}

}  // namespace
}  // namespace tolvane
