// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <iostream>
#include <new>
#include <sys/resource.h>

#include "base/LargeString.h"

namespace tolvane {
namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

// The most memory that this process has had, in bytes.
std::size_t peakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
}

// Bytes of which no two blocks are the same.
std::string numberedBytes(std::size_t count) {
  std::string bytes;
  while (bytes.size() < count) bytes += std::to_string(bytes.size()) + '\n';
  bytes.resize(count);
  return bytes;
}

TEST(LargeString, AppendedBytesStandInTheirOrder) {
  const std::string bytes = numberedBytes(30'000'000);
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 99'991) {
    appendLarge(text, std::string_view(bytes).substr(i, 99'991), bytes.size());
  }
  EXPECT_TRUE(text == bytes);
}

TEST(LargeString, NoRoomBeyondTheMaximumIsAskedFor) {
  std::string text;
  for (int i = 0; i < 30; ++i) appendLarge(text, std::string(100'000, 'x'), 3'000'000);
  EXPECT_EQ(text.size(), 3'000'000U);
  EXPECT_EQ(text.capacity(), 3'000'000U);
}

TEST(LargeString, AStringThatGrowsStaysWhole) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{10}, std::size_t{4095}, 4 * kMiB - 1,
                                 4 * kMiB, 4 * kMiB + 1, 13 * kMiB + 77}) {
    const std::string bytes = numberedBytes(size);
    std::string text = bytes;
    reserveLarge(text, size + kMiB);
    EXPECT_GE(text.capacity(), size + kMiB);
    EXPECT_TRUE(text == bytes) << size;
  }
}

TEST(LargeStringDeathTest, AStringThatGrowsIsNotInMemoryTwice) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers keep what was freed";
#endif
  EXPECT_EXIT(
      {
        std::string text;
        const std::string piece(kMiB, 'x');
        const std::size_t before = peakMemory();
        while (text.size() < 300 * kMiB) appendLarge(text, piece, 512 * kMiB);
        const std::size_t more = peakMemory() - before;
        std::cerr << more << " bytes";
        std::_Exit(more > 280 * kMiB && more < 320 * kMiB ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tolvane
