// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

#include "cli/NameCollisions.h"
#include "tests/cli/CommandResult.h"
#include "tests/cli/SampleIndex.h"
#include "tests/cli/ScriptedCommand.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

PackageEntry package(const std::string& name, const std::string& filename) {
  return PackageEntry({{"Package", name}, {"Version", "1.0"}, {"Filename", filename}});
}

std::vector<std::string> warnings(const std::vector<PackageEntry>& packages,
                                  const std::vector<std::string>& identifiers = {}) {
  std::ostringstream stream;
  Console console(stream, {.warningsOnly = true});
  warnOfNameCollisions(packages, identifiers, *URL::parse("http://user:secret@h/repo"), console);
  return consoleMessages(stream.str());
}

TEST(NameCollisions, TwoPackagesWithOneFileNameAreListedWithTheirAddresses) {
  EXPECT_THAT(warnings({package("a", "one/x.deb"), package("c", "y.deb"),
                        package("b", "http://other/x.deb")}),
              ElementsAre("a 1.0 and b 1.0 have one file name, x.deb, and one file will stand "
                          "for both: http://user:***@h/repo/one/x.deb and http://other/x.deb"));
}

TEST(NameCollisions, ANamedPackageIsComparedWithTheWholeRepository) {
  const std::vector<PackageEntry> packages{package("a", "1/x.deb"), package("b", "2/x.deb"),
                                           package("c", "1/y.deb"), package("d", "2/y.deb"),
                                           package("e", "Release")};
  EXPECT_THAT(warnings(packages), SizeIs(3));
  EXPECT_THAT(warnings(packages, {"b"}), ElementsAre(testing::StartsWith("a 1.0 and b 1.0 have")));
  EXPECT_THAT(warnings(packages, {"e", "other"}), ElementsAre(testing::StartsWith("e 1.0 has")));
  EXPECT_THAT(warnings(packages, {"other"}), IsEmpty());
}

TEST(NameCollisions, TwoPackagesWithOneAddressAreNone) {
  EXPECT_THAT(warnings({package("a", "x.deb"), package("b", "x.deb"), package("c", "/x.deb")}),
              IsEmpty());
}

TEST(NameCollisions, NamesThatDifferByCaseAloneAreNamed) {
  EXPECT_THAT(warnings({package("a", "x.deb"), package("b", "X.deb")}),
              ElementsAre("a 1.0 and b 1.0 have file names that differ by case alone, x.deb and "
                          "X.deb: http://user:***@h/repo/x.deb and http://user:***@h/repo/X.deb"));
}

TEST(NameCollisions, CaseIsThatOfUnicode) {
  EXPECT_THAT(warnings({package("a", "d/ÄΔ.deb"), package("b", "d/äδ.deb")}), testing::SizeIs(1));
  EXPECT_THAT(warnings({package("a", "d/K.deb"), package("b", "d/\u212A.deb")}), testing::SizeIs(1))
      << "the sign for kelvin";
  EXPECT_THAT(warnings({package("a", "d/ä.deb"), package("b", "d/a.deb")}), IsEmpty());
}

TEST(NameCollisions, SimilarNamesAreNoCollision) {
  EXPECT_THAT(warnings({package("a", "x@.deb"), package("b", "x`.deb"), package("c", "x.deb"),
                        package("d", "x.de"), package("e", "[.deb"), package("f", "{.deb")}),
              IsEmpty());
}

TEST(NameCollisions, EachOfThreeWithOneNameIsListed) {
  const auto lines =
      warnings({package("a", "1/x.deb"), package("b", "2/x.deb"), package("c", "3/x.deb")});
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_THAT(lines[0], testing::StartsWith("a 1.0 and b 1.0 have one file name"));
  EXPECT_THAT(lines[1], testing::StartsWith("b 1.0 and c 1.0 have one file name"));
}

TEST(NameCollisions, TheNameOfAMetadataFileIsACollisionInAnyCase) {
  EXPECT_THAT(warnings({package("a", "debs/release"), package("b", "dists"),
                        package("c", "x/Packages.gz"), package("d", "stable")}),
              ElementsAre("a 1.0 has the file name of a metadata file, release: "
                          "http://user:***@h/repo/debs/release",
                          "b 1.0 has the file name of a metadata file, dists: "
                          "http://user:***@h/repo/dists",
                          "c 1.0 has the file name of a metadata file, Packages.gz: "
                          "http://user:***@h/repo/x/Packages.gz"));
}

TEST(NameCollisions, APackageOfInstaller4HasTheNameOfItsZIPFile) {
  PackageEntry first, second;
  for (PackageEntry* entry : {&first, &second}) entry->setInstaller4Package(true);
  for (const auto field : {PackageEntry::Field::filename, PackageEntry::Field::packageInfoURL}) {
    first.setText(field, "http://h/one/x.plist");
    second.setText(field, "http://h/two/x.plist");
  }
  first.setPackageName("a");
  second.setPackageName("b");
  EXPECT_THAT(warnings({first, second}),
              ElementsAre("a  and b  have one file name, x.zip, and one file will stand for both: "
                          "http://h/one/x.plist and http://h/two/x.plist"));
}

TEST(NameCollisions, AreTwentyLinesAtMostInTheOrderOfTheList) {
  std::vector<PackageEntry> packages;
  for (int i = 0; i < 25; ++i) {
    const std::string number = std::to_string(i);
    packages.push_back(package("p" + number, "1/" + number + ".deb"));
    packages.push_back(package("q" + number, "2/" + number + ".deb"));
  }
  const auto lines = warnings(packages);
  ASSERT_EQ(lines.size(), 21U);
  for (int i = 0; i < 20; ++i) {
    EXPECT_THAT(lines[i], testing::StartsWith("p" + std::to_string(i) + " 1.0 and q"));
  }
  EXPECT_EQ(lines.back(), "and 5 more");
}

// The packages are present: the warnings are also printed if nothing is missing.
TEST(NameCollisions, AreWarnedOfBeforeEachRun) {
  ScriptedHTTPClient session;
  session.answer("http://repo.example/Packages",
                 {.body = "Package: a\nVersion: 1\nFilename: one/x.deb\n\n"
                          "Package: b\nVersion: 2\nFilename: two/x.deb\n\n" +
                          stanza("c")});
  const TemporaryFolder folder;
  folder.write("x.deb", "");
  folder.write("c.deb", "");
  const std::string warning =
      "a 1 and b 2 have one file name, x.deb, and one file will stand for both: "
      "http://repo.example/one/x.deb and http://repo.example/two/x.deb";
  const auto messages = [&](const std::vector<std::string>& options) {
    std::vector<std::string> arguments{"download", kRepository, folder.path(), "--quiet"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return consoleMessages(runScripted(session, arguments).errorOutput);
  };
  EXPECT_THAT(messages({}), ElementsAre(warning));
  EXPECT_THAT(messages({"--package", "a", "--package", "b"}), Contains(warning));
  EXPECT_THAT(messages({"--package", "a"}), Contains(warning)) << "whichever is selected";
  EXPECT_THAT(messages({"--package", "c"}), IsEmpty());
}

}  // namespace
}  // namespace tolvane
