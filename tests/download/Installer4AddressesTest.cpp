// SPDX-License-Identifier: MIT
// Where a package is looked for, and under which name.
#include <gtest/gtest.h>

#include "tests/download/Installer4RetrievalTest.h"

namespace tolvane {
namespace {

std::string cleaned(const std::string& text) {
  return describe(Installer4Retrieval::cleanedInstaller4URLFromString(text));
}

TEST(Installer4URLCleaning, AnEmptyStringGivesNoURL) {
  EXPECT_EQ(cleaned(""), "(null)");
}

TEST(Installer4URLCleaning, AStringWithoutPackagesFolderStaysAsItIs) {
  EXPECT_EQ(cleaned("http://zip.example/a.zip"), "http://zip.example/a.zip");
  EXPECT_EQ(cleaned("http://zip.example/packages"), "http://zip.example/packages");
}

TEST(Installer4URLCleaning, AGluedPackagesFolderIsCutLoose) {
  EXPECT_EQ(cleaned("http://zip.example/repopackages/a.zip"),
            "http://zip.example/repo/packages/a.zip");
}

TEST(Installer4URLCleaning, ThePackagesFolderKeepsItsCaseOfLetters) {
  EXPECT_EQ(cleaned("http://zip.example/repoPacKages/a.zip"),
            "http://zip.example/repo/PacKages/a.zip");
}

TEST(Installer4URLCleaning, ALoosePackagesFolderStaysAsItIs) {
  EXPECT_EQ(cleaned("http://zip.example/repo/packages/a.zip"),
            "http://zip.example/repo/packages/a.zip");
}

TEST(Installer4URLCleaning, OnlyTheFirstPackagesFolderCounts) {
  EXPECT_EQ(cleaned("http://zip.example/packages/repopackages/a.zip"),
            "http://zip.example/packages/repopackages/a.zip");
  EXPECT_EQ(cleaned("http://zip.example/apackages/bpackages/a.zip"),
            "http://zip.example/a/packages/bpackages/a.zip");
}

TEST(Installer4URLCleaning, APackagesFolderAtTheStartGetsASlash) {
  EXPECT_EQ(cleaned("packages/a.zip"), "/packages/a.zip");
}

TEST(Installer4URLCleaning, AStringThatIsNoURLGivesNone) {
  EXPECT_EQ(cleaned("http://zip.example/my zip"), "(null)");
  EXPECT_EQ(cleaned("my repopackages/a.zip"), "(null)");
}

TEST(Installer4Fallbacks, TheZipsIsTheLocationFromItsPackagesFolderOnBelowTheRepository) {
  const auto fallback = [](const char* location, const char* repository) {
    return describe(Installer4Retrieval::installer4FallbackDownloadURLForLocationString(
        location, URL::parse(repository)));
  };
  EXPECT_EQ(fallback("http://zip.example/repopackages/a.zip", "http://repo.example/r"),
            "http://repo.example/r/packages/a.zip");
  EXPECT_EQ(fallback("http://zip.example/Packages/x/a.zip?v=1", "http://repo.example/r/"),
            "http://repo.example/r/Packages/x/a.zip?v=1");
  EXPECT_EQ(fallback("packages/a.zip", "no url"), "/packages/a.zip");
}

TEST(Installer4Fallbacks, ALocationWithoutPackagesFolderHasNone) {
  const auto fallback = [](const char* location) {
    return describe(Installer4Retrieval::installer4FallbackDownloadURLForLocationString(
        location, URL::parse("http://repo.example")));
  };
  EXPECT_EQ(fallback(""), "(null)");
  EXPECT_EQ(fallback("http://zip.example/a.zip"), "(null)");
  EXPECT_EQ(fallback("http://zip.example/packages/my zip"), "(null)") << "the join is no URL";
}

TEST(Installer4Fallbacks, TheInfosIsTheListOfThatNameInTheRepositorysInfoFolder) {
  const auto fallback = [](const char* infoURL, const char* repository) {
    return describe(Installer4Retrieval::installer4FallbackInfoURLForPackage(
        packageWithInfo(infoURL), URL::parse(repository)));
  };
  EXPECT_EQ(fallback("http://info.example/x/a.plist?v=1", "http://repo.example/r"),
            "http://repo.example/r/info/a.plist");
  EXPECT_EQ(fallback("x/a.plist", "http://repo.example/r/"), "http://repo.example/r/info/a.plist");
  EXPECT_EQ(fallback("http://info.example/a/", "no url"), "/info/a");
}

TEST(Installer4Fallbacks, AnInfoURLWithoutLastComponentHasNone) {
  for (const char* infoURL : {"", "/", "http://info.example", "http://info.example/?a.plist",
                              "my info.plist", "http://info.example/my%20info.plist"}) {
    EXPECT_EQ(Installer4Retrieval::installer4FallbackInfoURLForPackage(
                  packageWithInfo(infoURL), URL::parse("http://repo.example")),
              std::nullopt)
        << infoURL;
  }
}

std::string bestKnownName(const PackageEntry::Dictionary& fields) {
  return Installer4Retrieval::installer4BestKnownLocalFilenameForPackage(PackageEntry(fields));
}

TEST(Installer4BestKnownName, IsThatOfTheDownloadURL) {
  EXPECT_EQ(bestKnownName({{"DownloadURL", "http://zip.example/foo.zip"},
                           {"PackageInfoURL", "http://info.example/bar.plist"}}),
            "foo.zip");
  EXPECT_EQ(bestKnownName({{"DownloadURL", "http://zip.example/my%20foo.zip?v=1"}}), "my foo.zip");
  EXPECT_EQ(bestKnownName({{"DownloadURL", "http://zip.example/xpackages/"}}), "packages");
}

TEST(Installer4BestKnownName, IsElseThatOfTheInfoURLWithAnotherExtension) {
  EXPECT_EQ(bestKnownName({{"PackageInfoURL", "http://info.example/foo.plist"}}), "foo.zip");
  EXPECT_EQ(bestKnownName({{"DownloadURL", "http://zip.example/"},
                           {"PackageInfoURL", "info/foo-1.0.plist?v=1"}}),
            "foo-1.0.zip");
  EXPECT_EQ(bestKnownName({{"DownloadURL", "no url"}, {"PackageInfoURL", "foo"}}), "foo.zip");
}

TEST(Installer4BestKnownName, AnInfoNameThatIsAllExtensionKeepsIt) {
  EXPECT_EQ(bestKnownName({{"PackageInfoURL", "http://info.example/.plist"}}), ".plist.zip");
}

TEST(Installer4BestKnownName, IsElseMadeOfIdentifierAndVersion) {
  EXPECT_EQ(bestKnownName({{"Package", "foo"}, {"Version", "2.0"}}), "foo_2.0.zip");
  EXPECT_EQ(bestKnownName({{"Version", "2.0"}, {"PackageInfoURL", "no url"}}),
            "installer4-package_2.0.zip");
  EXPECT_EQ(bestKnownName({{"Package", "foo"}}), "foo_unknown.zip");
  EXPECT_EQ(bestKnownName({}), "installer4-package_unknown.zip");
}

}  // namespace
}  // namespace tolvane
