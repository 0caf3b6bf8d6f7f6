// SPDX-License-Identifier: MIT
#include <array>
#include <utility>

#include "repository/PackagesIndex.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::Eq;
using testing::Optional;

// A name for each packing, and the packing.
const std::array<std::pair<std::string, std::string (*)(std::string_view)>, 3> kPackings{
    {{"a.gz", gzipped}, {"a.bz2", bzip2ed}, {"a.xz", xzed}}};

TEST(PackagesIndex, ATextOfTheMaximumIsDecodedAndOneByteMoreIsNot) {
  EXPECT_THAT(decodeIndex("abcd", "a", 4), Optional(Eq("abcd")));
  EXPECT_EQ(decodeIndex("abcde", "a", 4), std::nullopt);
  for (const auto& [name, pack] : kPackings) {
    EXPECT_THAT(decodeIndex(pack("abcd"), name, 4), Optional(Eq("abcd"))) << name;
    EXPECT_EQ(decodeIndex(pack("abcde"), name, 4), std::nullopt) << name;
  }
}

TEST(PackagesIndex, ALatin1TextIsMeasuredAsTheUTF8ThatItBecomes) {
  EXPECT_THAT(decodeIndex("ab\xE9", "a", 4), Optional(Eq("ab\u00E9")));
  EXPECT_EQ(decodeIndex("ab\xE9\xE9", "a", 4), std::nullopt);
  for (const auto& [name, pack] : kPackings) {
    EXPECT_THAT(decodeIndex(pack("ab\xE9"), name, 4), Optional(Eq("ab\u00E9"))) << name;
    EXPECT_EQ(decodeIndex(pack("ab\xE9\xE9"), name, 4), std::nullopt) << name;
  }
}

TEST(PackagesIndex, ALatin1TextOfHalfAGibibyteGrowsBeyondTheMaximum) {
  std::string text(kMaximumIndexSize, 'x');
  text.front() = '\xE9';
  EXPECT_FALSE(decodeIndexText(std::move(text)));
}

TEST(PackagesIndex, AByteOrderMarkIsNoPartOfTheText) {
  EXPECT_THAT(decodeIndex("\xEF\xBB\xBF"
                          "abcd",
                          "a", 4),
              Optional(Eq("abcd")));
}

TEST(PackagesIndex, ReadingLogsTheTextsLengthAndTheNumberOfPackages) {
  const LogRecorder log;
  const PackagesIndex index = readPackagesIndex(gzipped("Package: a\nFilename: b\n"), "a.gz");
  ASSERT_TRUE(index.packages);
  EXPECT_EQ(index.packages->size(), 1U);
  EXPECT_FALSE(index.outOfMemory);
  EXPECT_THAT(log.messages(), ElementsAre("success: Decoded Packages file (23 chars)",
                                          "success: Parsed 1 package(s)"));
}

TEST(PackagesIndex, WhatCannotBeDecodedIsNoWantOfMemory) {
  const LogRecorder log;
  const PackagesIndex index = readPackagesIndex("no gzip", "a.gz");
  EXPECT_EQ(index.packages, std::nullopt);
  EXPECT_FALSE(index.outOfMemory);
  EXPECT_THAT(log.messages(), testing::IsEmpty());
}

}  // namespace
}  // namespace tolvane
