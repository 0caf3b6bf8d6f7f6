// SPDX-License-Identifier: MIT
// How the items of an Installer 3 list become records.
#include "repository/Installer3RepositoryFetcher.h"
#include "tests/plist/BinaryListBuilder.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/support/ScriptedHTTPClient.h"

namespace tolvane {
namespace {

using namespace std::string_literals;

using testing::ElementsAre;
using testing::Optional;
using testing::Property;
using testing::SizeIs;

class Installer3Packages : public testing::Test {
 protected:
  static FetchOutcome fetch(const std::string& body) {
    ScriptedHTTPClient session;
    session.answerNext({.body = body});
    return outcomeOf([&](auto completion) {
      Installer3RepositoryFetcher(session.factory())
          .fetchPackagesFromRepositoryURL(URL::parse("http://repo.example"), completion);
    });
  }

  // The record of a list's only package.
  static PackageEntry fetchOne(const std::string& body) {
    const FetchOutcome outcome = fetch(body);
    if (!outcome.packages || outcome.packages->size() != 1) {
      ADD_FAILURE() << "not one package in " << body;
      return PackageEntry();
    }
    return outcome.packages->front();
  }
};

TEST_F(Installer3Packages, EveryKeyOfAnItemFeedsItsField) {
  const PackageEntry package = fetchOne(R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>packages</key><array><dict>
  <key>bundleIdentifier</key><string>com.example.a</string>
  <key>name</key><string>A</string>
  <key>version</key><string>1.0-2</string>
  <key>description</key><string>Does something.</string>
  <key>category</key><string>Utilities</string>
  <key>location</key><string>http://files.example/a.zip</string>
  <key>size</key><string>1234</string>
  <key>maintainer</key><string>Somebody</string>
</dict></array></dict></plist>)");
  EXPECT_EQ(package.packageName(), "com.example.a");
  EXPECT_EQ(package.displayName(), "A");
  EXPECT_EQ(package.version(), "1.0-2");
  EXPECT_EQ(package.architecture(), "installer3");
  EXPECT_EQ(package.packageDescription(), "Does something.");
  EXPECT_EQ(package.section(), "Utilities");
  EXPECT_EQ(package.filename(), "http://files.example/a.zip");
  EXPECT_EQ(package.downloadURL(), "http://files.example/a.zip");
  EXPECT_EQ(package.size(), "1234");
  EXPECT_EQ(package.author(), "Somebody");
  EXPECT_TRUE(package.installer3Package());
  EXPECT_FALSE(package.installer4Package());
}

TEST_F(Installer3Packages, NoOtherFieldIsFilled) {
  const PackageEntry package = fetchOne(packagesList(
      "{ name = A; maintainer = M; md5sum = x; sha256 = x; depends = x; homepage = x; "
      "depiction = x; icon = x; url = x; packageInfoURL = x; Package = x; Size = x; }"));
  EXPECT_EQ(package.md5sum(), "");
  EXPECT_EQ(package.sha256(), "");
  EXPECT_EQ(package.maintainer(), "");
  EXPECT_EQ(package.depends(), "");
  EXPECT_EQ(package.homepage(), "");
  EXPECT_EQ(package.depiction(), "");
  EXPECT_EQ(package.packageInfoURL(), "");
  EXPECT_EQ(package.packageName(), "A");
  EXPECT_EQ(package.size(), "");
}

TEST_F(Installer3Packages, AnIdentifierAloneIsTheDisplayNameToo) {
  const PackageEntry package =
      fetchOne(packagesList("{ bundleIdentifier = com.example.a; name = \"\"; }"));
  EXPECT_EQ(package.packageName(), "com.example.a");
  EXPECT_EQ(package.displayName(), "com.example.a");
}

TEST_F(Installer3Packages, ANameAloneIsTheIdentifierToo) {
  const PackageEntry package = fetchOne(packagesList("{ bundleIdentifier = \"\"; name = A; }"));
  EXPECT_EQ(package.packageName(), "A");
  EXPECT_EQ(package.displayName(), "A");
}

TEST_F(Installer3Packages, ItemsThatNameNoPackageArePassedOverAndTheOrderIsKept) {
  const FetchOutcome outcome = fetch(packagesList(
      "{ name = C; }, word, { version = 1; }, (A), { name = \"\"; bundleIdentifier = (x); }, "
      "{ name = A; }, <00>, { bundleIdentifier = B; }"));
  EXPECT_THAT(outcome.packages, Optional(ElementsAre(Property(&PackageEntry::packageName, "C"),
                                                     Property(&PackageEntry::packageName, "A"),
                                                     Property(&PackageEntry::packageName, "B"))));
}

TEST_F(Installer3Packages, EveryKeyMayHoldANumber) {
  const PackageEntry package = fetchOne(
      "<plist><dict><key>packages</key><array><dict>"
      "<key>bundleIdentifier</key><integer>1</integer><key>name</key><integer>2</integer>"
      "<key>version</key><real>3.5</real><key>description</key><integer>4</integer>"
      "<key>category</key><true/><key>location</key><integer>-6</integer>"
      "<key>size</key><integer>7</integer><key>maintainer</key><integer>8</integer>"
      "</dict></array></dict></plist>");
  EXPECT_EQ(package.packageName(), "1");
  EXPECT_EQ(package.displayName(), "2");
  EXPECT_EQ(package.version(), "3.5");
  EXPECT_EQ(package.packageDescription(), "4");
  EXPECT_EQ(package.section(), "1");
  EXPECT_EQ(package.filename(), "-6");
  EXPECT_EQ(package.downloadURL(), "-6");
  EXPECT_EQ(package.size(), "7");
  EXPECT_EQ(package.author(), "8");
}

TEST_F(Installer3Packages, NumbersBecomeTheSameStringsInEveryFormat) {
  const auto text = [](const std::string& characters) {
    return "\x5F\x10" + bigEndian(characters.size(), 1) + characters;
  };
  const std::string binary =
      binaryList({"\xD1\x01\x02"s, text("packages"), "\xA1\x03"s, "\xD3\x04\x05\x06\x07\x08\x09"s,
                  text("name"), text("size"), text("version"), text("A"),
                  "\x12" + bigEndian(1048576, 4), "\x23\x3F\xF8\0\0\0\0\0\0"s});
  for (const std::string& list :
       {"<plist><dict><key>packages</key><array><dict><key>name</key><string>A</string>"
        "<key>size</key><integer>1048576</integer><key>version</key><real>1.50</real>"
        "</dict></array></dict></plist>"s,
        binary, packagesList("{ name = A; size = 1048576; version = 1.5; }")}) {
    const FetchOutcome outcome = fetch(list);
    ASSERT_THAT(outcome.packages, Optional(SizeIs(1))) << list;
    EXPECT_EQ(outcome.packages->front().size(), "1048576") << list;
    EXPECT_EQ(outcome.packages->front().version(), "1.5") << list;
  }
}

TEST_F(Installer3Packages, TheSameListGivesTheSameRecordsInFiveEncodings) {
  const auto list = [](const std::string& declared, const std::string& name) {
    return "<?xml version=\"1.0\" encoding=\"" + declared +
           "\"?><plist><dict><key>packages</key><array><dict><key>name</key><string>" + name +
           "</string></dict></array></dict></plist>";
  };
  const auto inUTF16 = [&](bool isBigEndian) {
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char latin1 : list("UTF-16", "Z\xFCrich")) {
      bytes += isBigEndian ? std::string{'\0', latin1} : std::string{latin1, '\0'};
    }
    return bytes;
  };
  for (const std::string& body : {list("UTF-8", "Zürich"), "\xEF\xBB\xBF" + list("UTF-8", "Zürich"),
                                  list("ISO-8859-1", "Z\xFCrich"), inUTF16(true), inUTF16(false)}) {
    EXPECT_THAT(fetch(body).packages,
                Optional(ElementsAre(Property(&PackageEntry::packageName, "Zürich"))));
  }
}

}  // namespace
}  // namespace tolvane
