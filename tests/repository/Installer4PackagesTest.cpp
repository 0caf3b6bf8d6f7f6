// SPDX-License-Identifier: MIT
// How the items of an Installer 4 index become records.
#include "repository/Installer4RepositoryFetcher.h"
#include "tests/plist/BinaryListBuilder.h"
#include "tests/repository/FetchOutcome.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::Property;

Installer4RepositoryFetcher::PackageList packagesIn(const std::string& index) {
  const PropertyListResult result = readPropertyList(index);
  const PropertyList* items = result.value ? result.value->dictionary()->find("packages") : nullptr;
  if (!items) {
    ADD_FAILURE() << "no packages in " << index;
    return {};
  }
  return Installer4RepositoryFetcher::packageEntriesFromInstaller4PackagesArray(
      *items->list(), URL::parse("http://repo.example"));
}

// The record of an index's only package.
PackageEntry packageIn(const std::string& index) {
  const Installer4RepositoryFetcher::PackageList packages = packagesIn(index);
  if (packages.size() != 1) {
    ADD_FAILURE() << "not one package in " << index;
    return PackageEntry();
  }
  return packages.front();
}

TEST(Installer4Packages, EveryKeyOfAnItemFeedsItsField) {
  const PackageEntry package = packageIn(R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>packages</key><array><dict>
  <key>identifier</key><string>com.example.a</string>
  <key>name</key><string>A</string>
  <key>version</key><string>1.0-2</string>
  <key>description</key><string>Does something.</string>
  <key>category</key><string>Utilities</string>
  <key>url</key><string>http://repo.example/info/a.plist</string>
  <key>icon</key><string>http://repo.example/a.png</string>
</dict></array></dict></plist>)");
  EXPECT_EQ(package.packageName(), "com.example.a");
  EXPECT_EQ(package.displayName(), "A");
  EXPECT_EQ(package.version(), "1.0-2");
  EXPECT_EQ(package.architecture(), "installer4");
  EXPECT_EQ(package.packageDescription(), "Does something.");
  EXPECT_EQ(package.section(), "Utilities");
  EXPECT_EQ(package.filename(), "http://repo.example/info/a.plist");
  EXPECT_EQ(package.packageInfoURL(), "http://repo.example/info/a.plist");
  EXPECT_EQ(package.depiction(), "http://repo.example/a.png");
  EXPECT_TRUE(package.installer4Package());
  EXPECT_FALSE(package.installer3Package());
}

TEST(Installer4Packages, NoOtherFieldIsFilled) {
  const PackageEntry package = packageIn(packagesList(
      "{ name = A; size = 1; md5sum = x; sha256 = x; author = x; maintainer = x; depends = x; "
      "homepage = x; location = x; downloadURL = x; DownloadURL = x; Size = 1; }"));
  EXPECT_EQ(package.size(), "");
  EXPECT_EQ(package.md5sum(), "");
  EXPECT_EQ(package.sha256(), "");
  EXPECT_EQ(package.author(), "");
  EXPECT_EQ(package.maintainer(), "");
  EXPECT_EQ(package.depends(), "");
  EXPECT_EQ(package.homepage(), "");
  EXPECT_EQ(package.downloadURL(), "");
}

TEST(Installer4Packages, AnIdentifierAloneIsTheDisplayNameToo) {
  const PackageEntry package =
      packageIn(packagesList("{ identifier = com.example.a; name = \"\"; }"));
  EXPECT_EQ(package.packageName(), "com.example.a");
  EXPECT_EQ(package.displayName(), "com.example.a");
}

TEST(Installer4Packages, ANameAloneIsTheIdentifierToo) {
  const PackageEntry package = packageIn(packagesList("{ identifier = \"\"; name = A; }"));
  EXPECT_EQ(package.packageName(), "A");
  EXPECT_EQ(package.displayName(), "A");
}

TEST(Installer4Packages, APackageWithoutCategoryHasNoSection) {
  EXPECT_EQ(packageIn(packagesList("{ name = A; }")).section(), "");
  EXPECT_EQ(packageIn(packagesList("{ name = A; category = (x); }")).section(), "");
}

TEST(Installer4Packages, ItemsThatNameNoPackageArePassedOverAndTheOrderIsKept) {
  EXPECT_THAT(packagesIn(packagesList("{ name = C; }, word, { version = 1; }, (A), "
                                      "{ name = \"\"; identifier = (x); }, { name = A; }, <00>, "
                                      "{ identifier = B; }")),
              ElementsAre(Property(&PackageEntry::packageName, "C"),
                          Property(&PackageEntry::packageName, "A"),
                          Property(&PackageEntry::packageName, "B")));
}

TEST(Installer4Packages, EveryKeyMayHoldANumber) {
  const PackageEntry package = packageIn(
      "<plist><dict><key>packages</key><array><dict>"
      "<key>identifier</key><integer>1</integer><key>name</key><integer>2</integer>"
      "<key>version</key><real>3.5</real><key>description</key><integer>4</integer>"
      "<key>category</key><true/><key>url</key><integer>-6</integer>"
      "<key>icon</key><integer>7</integer></dict></array></dict></plist>");
  EXPECT_EQ(package.packageName(), "1");
  EXPECT_EQ(package.displayName(), "2");
  EXPECT_EQ(package.version(), "3.5");
  EXPECT_EQ(package.packageDescription(), "4");
  EXPECT_EQ(package.section(), "1");
  EXPECT_EQ(package.filename(), "-6");
  EXPECT_EQ(package.packageInfoURL(), "-6");
  EXPECT_EQ(package.depiction(), "7");
}

TEST(Installer4Packages, ANumericVersionBecomesTheSameStringInEveryFormat) {
  const auto text = [](const std::string& characters) {
    return "\x5F\x10" + bigEndian(characters.size(), 1) + characters;
  };
  const std::string binary =
      binaryList({"\xD1\x01\x02"s, text("packages"), "\xA1\x03"s, "\xD2\x04\x05\x06\x07"s,
                  text("name"), text("version"), text("A"), "\x23\x3F\xF8\0\0\0\0\0\0"s});
  for (const std::string& index :
       {"<plist><dict><key>packages</key><array><dict><key>name</key><string>A</string>"
        "<key>version</key><real>1.50</real></dict></array></dict></plist>"s,
        binary, packagesList("{ name = A; version = 1.5; }")}) {
    EXPECT_EQ(packageIn(index).version(), "1.5") << index;
  }
}

}  // namespace
}  // namespace tolvane
