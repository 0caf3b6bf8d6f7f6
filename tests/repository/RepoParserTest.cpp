// SPDX-License-Identifier: MIT
#include "repository/RepoParser.h"
#include "tests/repository/LittleMemory.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The record of a text that must hold exactly one.
PackageEntry onlyRecord(std::string text) {
  const std::vector<PackageEntry> records = RepoParser::parsePackagesText(std::move(text));
  EXPECT_EQ(records.size(), 1U);
  return records.empty() ? PackageEntry() : records.front();
}

// What onlyRecord() reads as the description of a package with these lines.
std::string descriptionIn(const std::string& lines) {
  return std::string(onlyRecord("Package: a\nFilename: f\n" + lines).packageDescription());
}

std::vector<std::string> packageNames(std::string text) {
  std::vector<std::string> names;
  for (const PackageEntry& record : RepoParser::parsePackagesText(std::move(text))) {
    names.emplace_back(record.packageName());
  }
  return names;
}

TEST(RepoParser, AnEmptyTextHasNoRecords) {
  EXPECT_THAT(RepoParser::parsePackagesText(""), IsEmpty());
}

TEST(RepoParser, EachFieldOfAStanzaFeedsTheRecordsFieldOfThatName) {
  const PackageEntry record = onlyRecord(
      "Package: com.example.a\nName: A\nVersion: 1.0-1\nArchitecture: iphoneos-arm\n"
      "Filename: ./debs/a.deb\nSize: 12\nMD5sum: 0a\nSHA256: 0b\nDescription: Text\n"
      "Section: Tweaks\nDepends: b (>= 1), c\nAuthor: X <x@y.example>\nMaintainer: Z\n"
      "Homepage: http://a.example/\nDepiction: http://a.example/d\n");
  EXPECT_EQ(record.packageName(), "com.example.a");
  EXPECT_EQ(record.displayName(), "A");
  EXPECT_EQ(record.version(), "1.0-1");
  EXPECT_EQ(record.architecture(), "iphoneos-arm");
  EXPECT_EQ(record.filename(), "./debs/a.deb");
  EXPECT_EQ(record.size(), "12");
  EXPECT_EQ(record.md5sum(), "0a");
  EXPECT_EQ(record.sha256(), "0b");
  EXPECT_EQ(record.packageDescription(), "Text");
  EXPECT_EQ(record.section(), "Tweaks");
  EXPECT_EQ(record.depends(), "b (>= 1), c");
  EXPECT_EQ(record.author(), "X <x@y.example>");
  EXPECT_EQ(record.maintainer(), "Z");
  EXPECT_EQ(record.homepage(), "http://a.example/");
  EXPECT_EQ(record.depiction(), "http://a.example/d");
  EXPECT_EQ(record.packageInfoURL(), "");
  EXPECT_EQ(record.downloadURL(), "");
  EXPECT_FALSE(record.installer4Package());
  EXPECT_FALSE(record.installer3Package());
}

TEST(RepoParser, RecordsComeInTheOrderOfTheText) {
  EXPECT_THAT(packageNames("Package: b\nFilename: f\n\nPackage: a\nFilename: f\n\n"
                           "Package: b\nFilename: f"),
              ElementsAre("b", "a", "b"));
}

TEST(RepoParser, FiveBlankLinesBetweenStanzasAreTheSameAsOne) {
  EXPECT_THAT(packageNames("\n\nPackage: a\nFilename: f\n\n\n\n\n\nPackage: b\nFilename: f\n\n\n"),
              ElementsAre("a", "b"));
}

TEST(RepoParser, OnlyCarriageReturnsParseTheSameAsLineFeeds) {
  EXPECT_THAT(packageNames("Package: a\rFilename: f\r\rPackage: b\rFilename: f\r"),
              ElementsAre("a", "b"));
}

TEST(RepoParser, CarriageReturnsWithLineFeedsParseTheSameAsLineFeeds) {
  EXPECT_THAT(packageNames("Package: a\r\nFilename: f\r\n\r\nPackage: b\r\nFilename: f\r\n"),
              ElementsAre("a", "b"));
  EXPECT_EQ(descriptionIn("Description: S\r\n A\r\n"), "S\nA");
}

TEST(RepoParser, ACarriageReturnBeforeALineEndOfTwoBytesIsALineEndToo) {
  EXPECT_THAT(packageNames("Package: a\nFilename: f\r\r\nPackage: b\nFilename: f"),
              ElementsAre("a", "b"));
}

TEST(RepoParser, StanzasSeparatedByALineOfABlankAreOneAndTheSecondsValuesCount) {
  const PackageEntry record = onlyRecord(
      "Package: a\nFilename: first.deb\nVersion: 1\n \nPackage: b\nFilename: second.deb\n");
  EXPECT_EQ(record.packageName(), "b");
  EXPECT_EQ(record.filename(), "second.deb");
  EXPECT_EQ(record.version(), "1");
}

TEST(RepoParser, FieldNamesInLowerCaseMakeNoRecord) {
  EXPECT_THAT(RepoParser::parsePackagesText("package: a\nfilename: f\n"), IsEmpty());
}

TEST(RepoParser, AStanzaWithoutFilenameProducesNoRecord) {
  EXPECT_THAT(packageNames("Package: a\nVersion: 1\n\nPackage: b\nFilename: f\n"),
              ElementsAre("b"));
}

TEST(RepoParser, AStanzaWithoutPackageProducesNoRecord) {
  EXPECT_THAT(RepoParser::parsePackagesText("Filename: f\nVersion: 1\n"), IsEmpty());
}

TEST(RepoParser, AFieldWithAnEmptyValueIsPresent) {
  const PackageEntry record = onlyRecord("Package:\nFilename: \t\nName:\n");
  EXPECT_EQ(record.packageName(), "");
  EXPECT_EQ(record.filename(), "");
}

TEST(RepoParser, ContinuationLinesAreJoinedByLineFeedsAndADotIsAnEmptyLine) {
  EXPECT_EQ(descriptionIn("Description: S\n A\n .\n B\n"), "S\nA\n\nB");
}

TEST(RepoParser, ContinuationLinesAreTrimmedAndAnAllBlankOneAddsNothing) {
  EXPECT_EQ(descriptionIn("Description: S  \n\t  A \t\n \t \n \u00A0.\u3000\n  ..\nSize: 1"),
            "S\nA\n\n..");
}

TEST(RepoParser, AnEmptyValueCanBeContinued) {
  EXPECT_EQ(descriptionIn("Description:\n A\n B\n"), "\nA\nB");
  EXPECT_EQ(descriptionIn("Description:   \n A\n"), "\nA");
}

TEST(RepoParser, ContinuationsOfOneFieldLeaveTheOthersAsTheyAre) {
  const PackageEntry record = onlyRecord(
      "Package: a\n a2\nVersion: 1\nDescription: S\n A\n B\nFilename: f\nSize: 12\n 34\nMD5sum: 5");
  EXPECT_EQ(record.packageName(), "a\na2");
  EXPECT_EQ(record.version(), "1");
  EXPECT_EQ(record.packageDescription(), "S\nA\nB");
  EXPECT_EQ(record.filename(), "f");
  EXPECT_EQ(record.size(), "12\n34");
  EXPECT_EQ(record.md5sum(), "5");
}

TEST(RepoParser, AContinuationLineBeforeAnyFieldOfAStanzaIsIgnored) {
  EXPECT_EQ(onlyRecord("no colon\n more\nPackage: a\nFilename: f").packageName(), "a");
}

TEST(RepoParser, AStanzasFirstLineContinuesNothingOfTheStanzaBefore) {
  EXPECT_EQ(onlyRecord("Package: a\nFilename: f\n\n more\n").filename(), "f");
}

TEST(RepoParser, ALineWithoutColonIsIgnoredAndDoesNotEndTheFieldBeforeIt) {
  EXPECT_EQ(descriptionIn("Description: S\nno colon\n A\nSize: 1"), "S\nA");
}

TEST(RepoParser, AContinuationOfAnUnknownFieldIsDroppedWithIt) {
  EXPECT_EQ(descriptionIn("Description: S\nTag: x\n A\n"), "S");
}

TEST(RepoParser, TheLastOfSeveralFieldsOfOneNameCounts) {
  EXPECT_EQ(descriptionIn("Description: S\n A\nDescription: T\n B\n"), "T\nB");
  EXPECT_EQ(descriptionIn("Description: S\n A\nDescription:\n"), "");
}

TEST(RepoParser, ABlankAfterTheColonMakesNoDifference) {
  const PackageEntry record =
      onlyRecord("Package:a\nFilename: f\nVersion:\t 1:2 \nSize\u00A0:\u00A03\n");
  EXPECT_EQ(record.packageName(), "a");
  EXPECT_EQ(record.version(), "1:2");
  EXPECT_EQ(record.size(), "3");
}

TEST(RepoParser, AnIndentedFirstLineIsAFieldLineAndAnIndentedLaterOneIsNot) {
  const PackageEntry record = onlyRecord(" \v\tPackage: a\nFilename: f\n Version: 1\n");
  EXPECT_EQ(record.packageName(), "a");
  EXPECT_EQ(record.filename(), "f\nVersion: 1");
  EXPECT_EQ(record.version(), "");
}

TEST(RepoParser, LinesOfWhiteSpaceAroundAStanzaAreTrimmedAway) {
  const PackageEntry record =
      onlyRecord("\u2028\n \n  Package: a\nFilename: f\nDescription: S\f\n \v\n\u0085");
  EXPECT_EQ(record.packageName(), "a");
  EXPECT_EQ(record.packageDescription(), "S");
}

TEST(RepoParser, WhiteSpaceThatIsNoBlankStaysInsideAStanza) {
  EXPECT_EQ(descriptionIn("Description: S\v\n \f\nSize: 1"), "S\v\n\f");
}

TEST(RepoParser, ALineBeginningWithAColonIsAFieldOfItsOwn) {
  EXPECT_EQ(descriptionIn("Description: S\n: x\n A\n"), "S");
}

TEST(RepoParser, AStanzasOwnInstaller4PackageFieldSetsTheFlag) {
  EXPECT_TRUE(onlyRecord("Package: a\nFilename: f\nInstaller4Package: yes").installer4Package());
}

TEST(RepoParser, ValuesAreNotValidated) {
  const PackageEntry record = onlyRecord("Package: a b/c\nFilename: ../f\nSize: many\nMD5sum: no");
  EXPECT_EQ(record.packageName(), "a b/c");
  EXPECT_EQ(record.filename(), "../f");
  EXPECT_EQ(record.size(), "many");
  EXPECT_EQ(record.md5sum(), "no");
}

TEST(RepoParser, BytesOfAnyKindAreKept) {
  const std::string text("Package: a\nFilename: \0\x01\xC3\xA9\xFF x\n", 29);
  EXPECT_EQ(onlyRecord(text).filename(), std::string("\0\x01\xC3\xA9\xFF x", 7));
}

TEST(RepoParser, ATextFullOfEmptyLinesHasNoRecords) {
  EXPECT_THAT(RepoParser::parsePackagesText(std::string(100'000, '\n')), IsEmpty());
  EXPECT_THAT(RepoParser::parsePackagesText(std::string(100'001, '\r')), IsEmpty());
}

TEST(RepoParser, AnEmptyLineIsFoundAtEveryPosition) {
  // Around the 64 bytes that are searched at once.
  for (std::size_t length = 1; length < 200; ++length) {
    const std::string first = "Package: a\nFilename: " + std::string(length, 'f');
    const std::string last = "\n\nPackage: c\nFilename: " + std::string(500, 'f');
    EXPECT_THAT(packageNames(first + "\n\nPackage: b\nFilename: g" + last),
                ElementsAre("a", "b", "c"))
        << length;
  }
}

TEST(RepoParser, AnIndexOfMoreThanTheMaximumOfRecordsIsRefusedAndNotCut) {
  std::string text;
  for (std::size_t i = 0; i < RepoParser::kMaximumRecords; ++i) text += "Package:\nFilename:\n\n";
  EXPECT_EQ(RepoParser::parsePackagesText(text).size(), RepoParser::kMaximumRecords);
  text += "Package:\nFilename:\n\n";
  EXPECT_THAT(RepoParser::parsePackagesText(text), IsEmpty());
  const std::string noPackage = "X: " + std::string(text.size(), 'x');
  EXPECT_THAT(RepoParser::parsePackagesText(text + noPackage), IsEmpty());
  EXPECT_THAT(RepoParser::parsePackagesText(noPackage + "\n\n" + text), IsEmpty());
}

TEST(RepoParser, AnIndexOfMegabytesIsWholeAndInOrder) {
  constexpr int kStanzas = 50'000;
  std::string text;
  std::vector<std::string> names;
  for (int i = 0; i < kStanzas; ++i) {
    names.push_back("p" + std::to_string(i));
    text += "Package: " + names.back() + "\nFilename: f\nDescription: a\n .\n b\n\n";
  }
  const std::vector<PackageEntry> records = RepoParser::parsePackagesText(std::move(text));
  ASSERT_EQ(records.size(), names.size());
  for (int i = 0; i < kStanzas; ++i) {
    ASSERT_EQ(records[i].packageName(), names[i]);
    ASSERT_EQ(records[i].packageDescription(), "a\n\nb");
  }
}

TEST(RepoParser, AStanzaOfMegabytesIsOne) {
  const std::string first = "Package: a\nFilename: f\n\n";
  std::string lines = "Description:";
  std::string description;
  for (int i = 0; i < 500'000; ++i) {
    lines += "\n line";
    description += "\nline";
  }
  const std::vector<PackageEntry> records =
      RepoParser::parsePackagesText(first + "Package: b\nFilename: f\n" + lines);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[1].packageName(), "b");
  // To print how half a million lines differ takes all memory.
  EXPECT_TRUE(records[1].packageDescription() == description);
}

// In a process that has hardly more memory than the text.
void expectNoRecords(std::string text) {
  EXPECT_EXIT(
      {
        haveLittleMemory();
        const bool none = RepoParser::parsePackagesText(std::move(text)).empty();
        std::_Exit(none ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(RepoParserDeathTest, WithoutMemoryForTheRecordsThereAreNone) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  std::string text;
  for (int i = 0; i < 500'000; ++i) text += "Package:\nFilename:\n\n";
  expectNoRecords(text);
  // A record of megabytes first, which leaves less.
  expectNoRecords("Package: a\nFilename: " + std::string(text.size(), 'f') + "\n\n" + text);
}

}  // namespace
}  // namespace tolvane
