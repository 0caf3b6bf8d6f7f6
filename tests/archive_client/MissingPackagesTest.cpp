// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

#include "archive_client/MissingPackages.h"

namespace tolvane {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

PackageEntry package(std::string_view name, std::string_view version,
                     std::string_view filename = "") {
  PackageEntry entry;
  entry.setPackageName(name);
  entry.setVersion(version);
  entry.setFilename(filename);
  return entry;
}

MissingPackages missing(const char* entries) {
  return MissingPackages(json::parse(entries).get<std::vector<json>>());
}

// "name version filename" of each match.
std::vector<std::string> matches(const char* entries, const std::vector<PackageEntry>& packages) {
  std::vector<std::string> texts;
  for (const PackageEntry& match : packagesForEntries(missing(entries), packages)) {
    texts.push_back(std::string(match.packageName()) + " " + std::string(match.version()) + " " +
                    std::string(match.filename()));
  }
  return texts;
}

TEST(MissingPackages, AreNoneAtFirst) {
  EXPECT_TRUE(MissingPackages().empty());
  EXPECT_EQ(MissingPackages().size(), 0u);
  EXPECT_THAT(packagesForEntries(MissingPackages(), {package("a", "1")}), IsEmpty());
}

TEST(MissingPackages, EveryEntryCountsAndIsKeptAsItCame) {
  const char* const entries = R"([{"identifier":"a","more":[1]},"odd",null,[],{}])";
  EXPECT_EQ(missing(entries).size(), 5u);
  EXPECT_FALSE(missing(entries).empty());
  EXPECT_EQ(json(missing(entries).entries()), json::parse(entries));
}

TEST(MissingPackages, AreMatchedByIdentifierAndVersionInTheOrderOfTheEntries) {
  const std::vector<PackageEntry> packages{package("a", "1", "a1"), package("a", "2", "a2"),
                                           package("b", "1", "b1")};
  EXPECT_THAT(
      matches(R"([{"identifier":"b","version":"1"},{"identifier":"a","version":"2"}])", packages),
      ElementsAre("b 1 b1", "a 2 a2"));
}

TEST(MissingPackages, TheFirstOfSeveralPackagesOfOneIdentityMatches) {
  EXPECT_THAT(matches(R"([{"identifier":"a","version":"1"}])",
                      {package("a", "1", "first"), package("a", "1", "second")}),
              ElementsAre("a 1 first"));
}

TEST(MissingPackages, AnEntryThatComesTwiceMatchesTwice) {
  EXPECT_THAT(
      matches(R"([{"identifier":"a","version":"1"},{"identifier":"a","version":"1","x":1}])",
              {package("a", "1", "a")}),
      ElementsAre("a 1 a", "a 1 a"));
}

TEST(MissingPackages, CaseCounts) {
  EXPECT_THAT(matches(R"([{"identifier":"A","version":"1"},{"identifier":"a","version":"1B"}])",
                      {package("a", "1"), package("a", "1b")}),
              IsEmpty());
}

TEST(MissingPackages, AnAbsentMemberIsAnEmptyString) {
  const std::vector<PackageEntry> packages{package("a", "", "unversioned"),
                                           package("", "1", "unnamed"), package("", "", "neither")};
  EXPECT_THAT(matches(R"([{"identifier":"a"},{"version":"1"},{}])", packages),
              ElementsAre("a  unversioned", " 1 unnamed", "  neither"));
}

TEST(MissingPackages, AnEntryThatIsNoObjectOrHasNoStringsMatchesNothing) {
  EXPECT_THAT(
      matches(R"(["a", 1, null, ["a", "1"], {"identifier":"a","version":1}, {"identifier":["a"]},
                  {"identifier":null,"version":"1"}])",
              {package("a", "1"), package("", ""), package("", "1"), package("a", "")}),
      IsEmpty());
}

}  // namespace
}  // namespace tolvane
