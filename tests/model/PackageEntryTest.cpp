// SPDX-License-Identifier: MIT
#include "model/PackageEntry.h"

namespace tolvane {
namespace {

using Field = PackageEntry::Field;

struct TextField {
  std::string key;
  Field field;
  std::string_view (PackageEntry::*read)() const;
  void (PackageEntry::*write)(std::string_view);
};

// One row a text, in the order of the record.
const std::vector<TextField> kTextFields = {
    {"Package", Field::packageName, &PackageEntry::packageName, &PackageEntry::setPackageName},
    {"Name", Field::displayName, &PackageEntry::displayName, &PackageEntry::setDisplayName},
    {"Version", Field::version, &PackageEntry::version, &PackageEntry::setVersion},
    {"Architecture", Field::architecture, &PackageEntry::architecture,
     &PackageEntry::setArchitecture},
    {"Filename", Field::filename, &PackageEntry::filename, &PackageEntry::setFilename},
    {"Size", Field::size, &PackageEntry::size, &PackageEntry::setSize},
    {"MD5sum", Field::md5sum, &PackageEntry::md5sum, &PackageEntry::setMd5sum},
    {"SHA256", Field::sha256, &PackageEntry::sha256, &PackageEntry::setSha256},
    {"Description", Field::packageDescription, &PackageEntry::packageDescription,
     &PackageEntry::setPackageDescription},
    {"Section", Field::section, &PackageEntry::section, &PackageEntry::setSection},
    {"Depends", Field::depends, &PackageEntry::depends, &PackageEntry::setDepends},
    {"Author", Field::author, &PackageEntry::author, &PackageEntry::setAuthor},
    {"Maintainer", Field::maintainer, &PackageEntry::maintainer, &PackageEntry::setMaintainer},
    {"Homepage", Field::homepage, &PackageEntry::homepage, &PackageEntry::setHomepage},
    {"Depiction", Field::depiction, &PackageEntry::depiction, &PackageEntry::setDepiction},
    {"PackageInfoURL", Field::packageInfoURL, &PackageEntry::packageInfoURL,
     &PackageEntry::setPackageInfoURL},
    {"DownloadURL", Field::downloadURL, &PackageEntry::downloadURL, &PackageEntry::setDownloadURL},
};

std::vector<std::string> texts(const PackageEntry& entry) {
  std::vector<std::string> all;
  for (const TextField& field : kTextFields) all.emplace_back((entry.*field.read)());
  return all;
}

const std::vector<std::string> kNoTexts(PackageEntry::kTextCount);

// The texts of the values must outlive their use; literals do.
PackageEntry::Values valuesOf(const std::vector<std::pair<Field, std::string_view>>& fields) {
  PackageEntry::Values values;
  for (const auto& [field, text] : fields) values.text(field) = text;
  return values;
}

TEST(PackageEntry, EveryStringOfAnEmptyDictionaryIsEmptyAndBothFlagsAreFalse) {
  for (const PackageEntry& entry : {PackageEntry(PackageEntry::Dictionary{}), PackageEntry()}) {
    EXPECT_EQ(texts(entry), kNoTexts);
    EXPECT_FALSE(entry.installer4Package());
    EXPECT_FALSE(entry.installer3Package());
  }
}

TEST(PackageEntry, EachKeyFeedsItsOwnField) {
  PackageEntry::Dictionary dictionary;
  std::vector<std::string> expected;
  for (const TextField& field : kTextFields) {
    dictionary[field.key] = "value of " + field.key;
    expected.push_back("value of " + field.key);
  }
  EXPECT_EQ(texts(PackageEntry(dictionary)), expected);
}

TEST(PackageEntry, AStringIsReadByItsFieldToo) {
  for (const TextField& field : kTextFields) {
    const PackageEntry entry(PackageEntry::Dictionary{{field.key, "x"}});
    EXPECT_EQ(entry.text(field.field), "x") << field.key;
    PackageEntry::Values values;
    EXPECT_EQ(values.valueForKey(field.key), &values.text(field.field));
  }
}

TEST(PackageEntry, TwoKeysFeedTheFlags) {
  PackageEntry::Values values;
  EXPECT_EQ(values.valueForKey("Installer4Package"), &values.installer4Package);
  EXPECT_EQ(values.valueForKey("Installer3Package"), &values.installer3Package);
}

TEST(PackageEntry, KeysAreComparedExactly) {
  PackageEntry::Values values;
  for (const TextField& field : kTextFields) {
    std::string lower = field.key;
    lower.back() = static_cast<char>(lower.back() ^ 0x20);
    for (const std::string& other : {lower, field.key + " ", " " + field.key, field.key + "s"}) {
      EXPECT_EQ(values.valueForKey(other), nullptr) << other;
      EXPECT_EQ(texts(PackageEntry(PackageEntry::Dictionary{{other, "x"}})), kNoTexts) << other;
    }
  }
  EXPECT_EQ(values.valueForKey(""), nullptr);
  EXPECT_EQ(values.valueForKey("Installer5Package"), nullptr);
}

TEST(PackageEntry, WithoutPackageAndNameBothNamesAreEmpty) {
  const PackageEntry entry(PackageEntry::Dictionary{{"Version", "1"}});
  EXPECT_EQ(entry.packageName(), "");
  EXPECT_EQ(entry.displayName(), "");
}

TEST(PackageEntry, WithoutNameTheDisplayNameIsThePackageName) {
  const PackageEntry entry(PackageEntry::Dictionary{{"Package", "com.example.a"}});
  EXPECT_EQ(entry.displayName(), "com.example.a");
}

TEST(PackageEntry, APresentButEmptyNameStaysEmpty) {
  const PackageEntry entry(PackageEntry::Dictionary{{"Package", "com.example.a"}, {"Name", ""}});
  EXPECT_EQ(entry.displayName(), "");
}

TEST(PackageEntry, ASizeThatIsNoNumberIsKeptUnchanged) {
  EXPECT_EQ(PackageEntry(PackageEntry::Dictionary{{"Size", "1 2 kB"}}).size(), "1 2 kB");
}

TEST(PackageEntry, ValuesAreNotTrimmedOrConverted) {
  const std::string value(" \tA\nb\0c ", 9);
  EXPECT_EQ(PackageEntry(PackageEntry::Dictionary{{"Section", value}}).section(), value);
}

TEST(PackageEntry, FlagsFollowTheBooleanReadingOfTheirValues) {
  for (const char* yes : {"yes", "Y", "true", "T", "1", "9", "  1", "10"}) {
    const PackageEntry entry(
        PackageEntry::Dictionary{{"Installer4Package", yes}, {"Installer3Package", "no"}});
    EXPECT_TRUE(entry.installer4Package()) << yes;
    EXPECT_FALSE(entry.installer3Package()) << yes;
  }
  for (const char* no : {"", "no", "false", "0", "-1", "x"}) {
    const PackageEntry entry(
        PackageEntry::Dictionary{{"Installer4Package", no}, {"Installer3Package", "yes"}});
    EXPECT_FALSE(entry.installer4Package()) << no;
    EXPECT_TRUE(entry.installer3Package()) << no;
  }
}

TEST(PackageEntry, AWriteAccessorChangesItsOwnFieldAlone) {
  for (std::size_t i = 0; i < kTextFields.size(); ++i) {
    PackageEntry entry;
    (entry.*kTextFields[i].write)("new");
    std::vector<std::string> expected = kNoTexts;
    expected[i] = "new";
    EXPECT_EQ(texts(entry), expected) << kTextFields[i].key;
  }
}

TEST(PackageEntry, AFlagIsWrittenAloneToo) {
  PackageEntry entry(PackageEntry::Dictionary{{"Package", "a"}});
  entry.setInstaller3Package(true);
  EXPECT_TRUE(entry.installer3Package());
  EXPECT_FALSE(entry.installer4Package());
  entry.setInstaller4Package(true);
  entry.setInstaller3Package(false);
  EXPECT_FALSE(entry.installer3Package());
  EXPECT_TRUE(entry.installer4Package());
  EXPECT_EQ(entry.packageName(), "a");
}

TEST(PackageEntry, AWrittenStringIsACopy) {
  std::string value = "first";
  PackageEntry entry;
  entry.setVersion(value);
  value = "other";
  EXPECT_EQ(entry.version(), "first");
}

TEST(PackageEntry, AnEntryMayBeGivenAStringOfItsOwn) {
  PackageEntry entry(PackageEntry::Dictionary{{"Filename", "a/b.deb"}});
  entry.setDownloadURL(entry.filename());
  entry.setFilename(entry.filename().substr(2));
  EXPECT_EQ(entry.downloadURL(), "a/b.deb");
  EXPECT_EQ(entry.filename(), "b.deb");
}

TEST(PackageEntry, WritingToACopyLeavesTheOriginal) {
  const PackageEntry original(PackageEntry::Dictionary{{"Package", "a"}, {"Version", "1"}});
  PackageEntry copy = original;
  copy.setVersion("2");
  copy.setInstaller4Package(true);
  EXPECT_EQ(original.version(), "1");
  EXPECT_FALSE(original.installer4Package());
  EXPECT_EQ(copy.packageName(), "a");
}

TEST(PackageEntryBuilder, GivesOneEntryForEachAddInOrder) {
  PackageEntry::Builder builder("");
  EXPECT_EQ(builder.size(), 0U);
  builder.add(valuesOf({{Field::packageName, "a"}}));
  PackageEntry::Values values = valuesOf({{Field::packageName, "b"}, {Field::displayName, "B"}});
  values.installer4Package = "yes";
  builder.add(values);
  EXPECT_EQ(builder.size(), 2U);
  const std::vector<PackageEntry> entries = builder.finish();
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].displayName(), "a");
  EXPECT_FALSE(entries[0].installer4Package());
  EXPECT_EQ(entries[1].displayName(), "B");
  EXPECT_TRUE(entries[1].installer4Package());
}

TEST(PackageEntryBuilder, EntriesPointIntoTheOneIndexText) {
  PackageEntry::Builder builder("a long enough name|1.0");
  const char* const text = builder.text().data();
  builder.add(valuesOf({{Field::packageName, std::string_view(builder.text()).substr(0, 18)}}));
  const PackageEntry entry = builder.finish().front();
  EXPECT_EQ(entry.packageName(), "a long enough name");
  EXPECT_EQ(entry.packageName().data(), text);
}

TEST(PackageEntryBuilder, OneEntryKeepsTheIndexTextAlive) {
  PackageEntry last;
  {
    PackageEntry::Builder builder(std::string(1000, 'x'));
    for (int i = 0; i < 100; ++i) builder.add(valuesOf({{Field::section, builder.text()}}));
    last = builder.finish().back();
  }
  EXPECT_EQ(last.section(), std::string(1000, 'x'));
}

TEST(PackageEntryBuilder, AnEntryThatIsWrittenToLeavesTheIndexAndItsOtherEntries) {
  PackageEntry::Builder builder("shared");
  builder.add(valuesOf({{Field::version, builder.text()}}));
  builder.add(valuesOf({{Field::version, builder.text()}}));
  std::vector<PackageEntry> entries = builder.finish();
  entries[0].setVersion("own");
  EXPECT_EQ(entries[0].version(), "own");
  EXPECT_EQ(entries[1].version(), "shared");
}

}  // namespace
}  // namespace tolvane
