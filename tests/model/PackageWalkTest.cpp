// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "model/PackageSearch.h"
#include "model/PackageWalk.h"

namespace tolvane {
namespace {

std::vector<PackageEntry> packagesNumbered(int count) {
  std::vector<PackageEntry> packages(count);
  for (int i = 0; i < count; ++i) packages[i].setPackageName(std::to_string(i));
  return packages;
}

std::vector<std::string> namesOf(std::span<const PackageEntry> packages) {
  std::vector<std::string> names;
  forEachPackage(packages,
                 [&](const PackageEntry& package) { names.emplace_back(package.packageName()); });
  return names;
}

TEST(PackageWalk, VisitsEachPackageOnceAndInOrder) {
  EXPECT_THAT(namesOf({}), testing::IsEmpty());
  EXPECT_THAT(namesOf(packagesNumbered(3)), testing::ElementsAre("0", "1", "2"));
  EXPECT_EQ(namesOf(packagesNumbered(20)).size(), 20u);
}

TEST(PackageWalk, InHalvesGivesEachPackageToOneOfThemInOrder) {
  for (const int count : {0, 1, 2, 3, 10'001}) {
    const auto packages = packagesNumbered(count);
    auto [names, later] = inHalves(packages, namesOf);
    names.insert(names.end(), later.begin(), later.end());
    EXPECT_EQ(names, namesOf(packages)) << count << " packages";
  }
}

TEST(PackageWalk, BothHalvesCanSearchAtTheSameTime) {
  const auto packages = packagesNumbered(10'000);
  const PackageSearch search("99");
  const auto countIn = [&](std::span<const PackageEntry> half) {
    int count = 0;
    forEachPackage(half, [&](const PackageEntry& package) { count += search.matches(package); });
    return count;
  };
  const auto [first, second] = inHalves(packages, countIn);
  EXPECT_EQ(first, 95);
  EXPECT_EQ(second, 185);
}

}  // namespace
}  // namespace tolvane
