// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <limits>

#include "base/ByteCount.h"

namespace tolvane {
namespace {

TEST(ByteCount, NothingIsZeroKB) {
  EXPECT_EQ(formattedByteCount(0), "Zero KB");
}

TEST(ByteCount, CountsBelowAThousandAreInBytes) {
  EXPECT_EQ(formattedByteCount(1), "1 byte");
  EXPECT_EQ(formattedByteCount(2), "2 bytes");
  EXPECT_EQ(formattedByteCount(999), "999 bytes");
}

TEST(ByteCount, NegativeCountsKeepTheirSign) {
  EXPECT_EQ(formattedByteCount(-1), "-1 byte");
  EXPECT_EQ(formattedByteCount(-5), "-5 bytes");
  EXPECT_EQ(formattedByteCount(-1500), "-1.5 KB");
}

TEST(ByteCount, UnitsAreStepsOfAThousand) {
  EXPECT_EQ(formattedByteCount(1000), "1 KB");
  EXPECT_EQ(formattedByteCount(1'000'000), "1 MB");
  EXPECT_EQ(formattedByteCount(1'000'000'000), "1 GB");
  EXPECT_EQ(formattedByteCount(1'000'000'000'000), "1 TB");
}

TEST(ByteCount, ThereIsAtMostOneDecimalAndNoneThatIsZero) {
  EXPECT_EQ(formattedByteCount(1'500'000), "1.5 MB");
  EXPECT_EQ(formattedByteCount(1'540'000), "1.5 MB");
  EXPECT_EQ(formattedByteCount(2'040'000), "2 MB");
  EXPECT_EQ(formattedByteCount(123'456), "123.5 KB");
}

TEST(ByteCount, HalfATenthIsRoundedUp) {
  EXPECT_EQ(formattedByteCount(1'049), "1 KB");
  EXPECT_EQ(formattedByteCount(1'050), "1.1 KB");
  EXPECT_EQ(formattedByteCount(1'949), "1.9 KB");
}

TEST(ByteCount, RoundingComesBeforeTheChoiceOfTheUnit) {
  EXPECT_EQ(formattedByteCount(999'949), "999.9 KB");
  EXPECT_EQ(formattedByteCount(999'950), "1 MB");
  EXPECT_EQ(formattedByteCount(999'949'999), "999.9 MB");
  EXPECT_EQ(formattedByteCount(999'950'000), "1 GB");
}

TEST(ByteCount, TheLargestUnitIsTB) {
  EXPECT_EQ(formattedByteCount(1'234'500'000'000'000), "1234.5 TB");
  EXPECT_EQ(formattedByteCount(std::numeric_limits<std::int64_t>::max()), "9223372 TB");
  EXPECT_EQ(formattedByteCount(std::numeric_limits<std::int64_t>::min()), "-9223372 TB");
}

}  // namespace
}  // namespace tolvane
