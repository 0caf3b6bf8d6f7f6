// SPDX-License-Identifier: MIT
// Where a package is saved and where it comes from.
#include <gtest/gtest.h>

#include "download/DownloadManager.h"

namespace tolvane {
namespace {

PackageEntry package(const PackageEntry::Dictionary& fields) {
  return PackageEntry(fields);
}

PackageEntry packageWithFilename(std::string_view filename) {
  return package({{"Filename", std::string(filename)}});
}

std::string localName(std::string_view filename) {
  return DownloadManager::localFilenameForPackage(packageWithFilename(filename));
}

// The URL of a file of the repository, or "no URL".
std::string urlOf(std::string_view filename, std::string_view repository) {
  const std::optional<URL> url =
      DownloadManager::URLForPackage(packageWithFilename(filename), URL::parse(repository));
  return url ? url->absoluteString() : "no URL";
}

TEST(LocalFilename, IsTheLastComponentOfTheFilename) {
  EXPECT_EQ(localName("pool/main/a/foo_1.0_iphoneos-arm.deb"), "foo_1.0_iphoneos-arm.deb");
  EXPECT_EQ(localName("foo.deb"), "foo.deb");
}

TEST(LocalFilename, IgnoresSlashesAtTheEnd) {
  EXPECT_EQ(localName("pool/foo.deb//"), "foo.deb");
}

TEST(LocalFilename, OfAWholeURLKeepsItsQuery) {
  EXPECT_EQ(localName("https://repo.example/d/foo.deb?token=a%2Fb"), "foo.deb?token=a%2Fb");
}

TEST(LocalFilename, IsTakenUnchanged) {
  EXPECT_EQ(localName("pool/Foo Bar:1\\é%20.DEB"), "Foo Bar:1\\é%20.DEB");
}

TEST(LocalFilename, WithoutFilenameIsMadeOfNameAndVersion) {
  EXPECT_EQ(DownloadManager::localFilenameForPackage(
                package({{"Package", "com.example.foo"}, {"Version", "2:1.0-1"}})),
            "com.example.foo_2:1.0-1.deb");
}

TEST(LocalFilename, OfNothingButSlashesIsMadeOfNameAndVersion) {
  EXPECT_EQ(DownloadManager::localFilenameForPackage(
                package({{"Package", "foo"}, {"Version", "1.0"}, {"Filename", "///"}})),
            "foo_1.0.deb");
}

TEST(LocalFilename, TakesEmptyNameAndVersionUnchanged) {
  EXPECT_EQ(DownloadManager::localFilenameForPackage(package({{"Version", "1.0"}})), "_1.0.deb");
  EXPECT_EQ(DownloadManager::localFilenameForPackage(PackageEntry()), "_.deb");
}

TEST(PackageURL, IsTheRepositoryFollowedByTheFilename) {
  EXPECT_EQ(urlOf("pool/main/a/foo_1.0_iphoneos-arm.deb", "https://repo.example/apt"),
            "https://repo.example/apt/pool/main/a/foo_1.0_iphoneos-arm.deb");
  EXPECT_EQ(urlOf("pool/x.deb", "https://repo.example/apt/"),
            "https://repo.example/apt/pool/x.deb");
}

TEST(PackageURL, DropsEveryLeadingSlashOfTheFilename) {
  EXPECT_EQ(urlOf("/pool/x.deb", "http://repo.example"), "http://repo.example/pool/x.deb");
  EXPECT_EQ(urlOf("//pool/x.deb", "http://repo.example"), "http://repo.example/pool/x.deb");
}

TEST(PackageURL, IsTheFilenameItselfWhereThatIsAWholeURL) {
  EXPECT_EQ(urlOf("https://cdn.example/x.deb", "http://repo.example"), "https://cdn.example/x.deb");
  EXPECT_EQ(urlOf("http://cdn.example/x.deb", "http://repo.example"), "http://cdn.example/x.deb");
}

TEST(PackageURL, TakesNoOtherPrefixForAWholeURL) {
  EXPECT_EQ(urlOf("HTTPS://cdn.example/x.deb", "http://repo.example"),
            "http://repo.example/HTTPS://cdn.example/x.deb");
  EXPECT_EQ(urlOf("ftp://cdn.example/x.deb", "http://repo.example"),
            "http://repo.example/ftp://cdn.example/x.deb");
}

TEST(PackageURL, EncodesNothing) {
  EXPECT_EQ(urlOf("pool/a%20b+c~1.deb", "http://repo.example"),
            "http://repo.example/pool/a%20b+c~1.deb");
  EXPECT_EQ(urlOf("pool/a b.deb", "http://repo.example"), "no URL");
  EXPECT_EQ(urlOf("https://cdn.example/a b.deb", "http://repo.example"), "no URL");
}

TEST(PackageURL, IsThePathAloneWhereThereIsNoRepository) {
  EXPECT_EQ(urlOf("/pool/x.deb", "not a URL"), "/pool/x.deb");
}

TEST(PackageURL, IsNotTheDownloadURL) {
  const PackageEntry entry =
      package({{"Filename", "pool/x.deb"}, {"DownloadURL", "https://cdn.example/y.deb"}});
  EXPECT_EQ(absoluteText(DownloadManager::URLForPackage(entry, URL::parse("http://r.example"))),
            "http://r.example/pool/x.deb");
}

}  // namespace
}  // namespace tolvane
