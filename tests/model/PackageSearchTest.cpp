// SPDX-License-Identifier: MIT
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

TEST(PackageSearch, FindsATextInsideAWordWhateverItsCase) {
  const PackageEntry package = packageWith(Field::section, "Tabs");
  EXPECT_TRUE(PackageSearch("Ab").matches(package));
  EXPECT_TRUE(PackageSearch("TABS").matches(package));
  EXPECT_FALSE(PackageSearch("tables").matches(package));
}

TEST(PackageSearch, LooksIntoEightFieldsAndNoOther) {
  const std::vector<Field> searched{
      Field::displayName, Field::packageName, Field::packageDescription, Field::section,
      Field::author,      Field::maintainer,  Field::filename,           Field::version};
  const PackageSearch search("needle");
  for (std::size_t i = 0; i < PackageEntry::kTextCount; ++i) {
    const auto field = static_cast<Field>(i);
    const bool expected = std::find(searched.begin(), searched.end(), field) != searched.end();
    EXPECT_EQ(search.matches(packageWith(field, "a Needle b")), expected) << "field " << i;
  }
}

TEST(PackageSearch, DoesNotSplitTheQueryIntoWords) {
  PackageEntry package = packageWith(Field::displayName, "Big Clock");
  EXPECT_TRUE(PackageSearch("big clock").matches(package));
  EXPECT_FALSE(PackageSearch("clock big").matches(package));
  package.setVersion("1.0");
  EXPECT_FALSE(PackageSearch("clock1").matches(package));
}

TEST(PackageSearch, IgnoresWhiteSpaceAroundTheQuery) {
  const PackageEntry package = packageWith(Field::displayName, "Clock");
  EXPECT_TRUE(PackageSearch(" \t clock\n").matches(package));
}

TEST(PackageSearch, FindsEverythingForAQueryOfBlanks) {
  EXPECT_TRUE(PackageSearch("  ").matches(PackageEntry()));
  EXPECT_TRUE(PackageSearch("").matches(PackageEntry()));
}

TEST(PackageSearch, KnowsNoWildcardsAndFoldsNoAccents) {
  const PackageEntry package = packageWith(Field::displayName, "Café");
  EXPECT_FALSE(PackageSearch("caf*").matches(package));
  EXPECT_FALSE(PackageSearch("cafe").matches(package));
  EXPECT_TRUE(PackageSearch("CAFÉ").matches(package));
}

// Texts are compared in blocks and, above a length, in another way: no length may matter.
TEST(PackageSearch, FindsATextAtEveryPlaceOfATextOfEveryLength) {
  for (const std::size_t length : {1, 31, 32, 33, 63, 64, 65, 1000, 1023, 1024, 1025, 5000}) {
    for (std::size_t at = 0; at + 3 <= length; at += 1 + length / 40) {
      std::string text(length, 'x');
      text.replace(at, 3, "Key");
      EXPECT_TRUE(PackageSearch("kEY").matches(packageWith(Field::packageDescription, text)))
          << length << " " << at;
      text.replace(at, 3, "Kex");
      EXPECT_FALSE(PackageSearch("key").matches(packageWith(Field::packageDescription, text)))
          << length << " " << at;
    }
  }
}

TEST(PackageSearch, LettersBesideTheAlphabetAreNotChanged) {
  EXPECT_FALSE(PackageSearch("`").matches(packageWith(Field::displayName, "@")));
  EXPECT_FALSE(PackageSearch("{").matches(packageWith(Field::displayName, "[")));
  EXPECT_TRUE(PackageSearch("az").matches(packageWith(Field::displayName, "AZ")));
}

TEST(PackageSearch, ALetterOutsideASCIIMayHaveALowerCaseWithinIt) {
  EXPECT_TRUE(PackageSearch("kelvin").matches(packageWith(Field::displayName, "\u212Aelvin")));
}

}  // namespace
}  // namespace tolvane
