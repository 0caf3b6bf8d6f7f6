// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <iostream>
#include <new>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "repository/PayloadDecoder.h"
#include "tests/repository/LittleMemory.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::Eq;
using testing::Optional;

struct Format {
  std::string name;
  std::string (*pack)(std::string_view);
  std::optional<std::string> (*unpack)(std::string_view, std::size_t);

  std::optional<std::string> unpacked(std::string_view bytes) const {
    return unpack(bytes, kMaximumIndexSize);
  }
};

void PrintTo(const Format& format, std::ostream* stream) {
  *stream << format.name;
}

std::string randomBytes(std::size_t count) {
  std::mt19937 random(7);
  std::string bytes;
  while (bytes.size() < count) {
    const std::uint32_t word = random();
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
  }
  return bytes;
}

// How many bytes from one place to the other have memory of their own, in whole pages.
std::size_t residentBytes(const char* begin, const char* end) {
  const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
  const auto last = reinterpret_cast<std::uintptr_t>(end) / page * page;
  if (last <= first) return 0;
  std::vector<unsigned char> pages((last - first) / page);
  EXPECT_EQ(::mincore(reinterpret_cast<void*>(first), last - first, pages.data()), 0);
  return page * std::ranges::count_if(pages, [](unsigned char flags) { return (flags & 1) != 0; });
}

class EachFormat : public testing::TestWithParam<Format> {};

using EachFormatDeathTest = EachFormat;

const auto kFormats =
    testing::Values(Format{"Gzip", gzipped, unpackGzip}, Format{"Bzip2", bzip2ed, unpackBzip2},
                    Format{"XZ", xzed, unpackXZ});
const auto kFormatName = [](const auto& test) { return test.param.name; };

INSTANTIATE_TEST_SUITE_P(PayloadDecoder, EachFormat, kFormats, kFormatName);
INSTANTIATE_TEST_SUITE_P(PayloadDecoder, EachFormatDeathTest, kFormats, kFormatName);

TEST_P(EachFormat, GivesWhatWasPacked) {
  EXPECT_THAT(GetParam().unpacked(GetParam().pack("Package: a\n")), Optional(Eq("Package: a\n")));
}

TEST_P(EachFormat, AnEmptyBodyYieldsNothing) {
  EXPECT_EQ(GetParam().unpacked(""), std::nullopt);
}

TEST_P(EachFormat, ACompressedEmptyTextYieldsTheEmptyText) {
  EXPECT_THAT(GetParam().unpacked(GetParam().pack("")), Optional(Eq("")));
}

TEST_P(EachFormat, AOneBytePayloadYieldsNothing) {
  for (int byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(GetParam().unpacked(std::string(1, static_cast<char>(byte))), std::nullopt);
  }
}

TEST_P(EachFormat, ATextThatCompressesToVeryLittleIsWhole) {
  const std::string text(5'000'000, 'x');
  EXPECT_TRUE(GetParam().unpacked(GetParam().pack(text)) == text);
}

TEST_P(EachFormat, ATextWithRepetitionsFarApartIsWhole) {
  const std::string block = randomBytes(30'000);
  std::string text;
  while (text.size() < 1'000'000) text += block;
  EXPECT_TRUE(GetParam().unpacked(GetParam().pack(text)) == text);
}

TEST_P(EachFormat, BytesThatDoNotPackAtAllAreWhole) {
  const std::string bytes = randomBytes(2'500'000);
  EXPECT_TRUE(GetParam().unpacked(GetParam().pack(bytes)) == bytes);
}

TEST_P(EachFormat, UnusedCapacityTakesNoMemory) {
  const std::optional<std::string> text =
      GetParam().unpacked(GetParam().pack(std::string(50'000'000, 'x')));
  ASSERT_TRUE(text);
  EXPECT_LE(residentBytes(text->data() + text->size(), text->data() + text->capacity()),
            std::size_t{2} << 20);  // the rest of the last large page
}

TEST_P(EachFormat, PlainTextYieldsNothing) {
  EXPECT_EQ(GetParam().unpacked("Package: a\nFilename: b\n"), std::nullopt);
}

TEST_P(EachFormat, APayloadCutAnywhereYieldsNothing) {
  const std::string payload = GetParam().pack(randomBytes(300));
  for (std::size_t length = 0; length < payload.size(); ++length) {
    EXPECT_EQ(GetParam().unpacked(payload.substr(0, length)), std::nullopt) << length;
  }
}

TEST_P(EachFormat, APayloadDamagedAnywhereNeverYieldsAnotherText) {
  const std::string text = randomBytes(300);
  const std::string payload = GetParam().pack(text);
  for (std::size_t i = 0; i < payload.size(); ++i) {
    std::string damaged = payload;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x11);
    const std::optional<std::string> unpacked = GetParam().unpacked(damaged);
    EXPECT_TRUE(!unpacked || *unpacked == text) << i;  // a header's time stamp may be anything
  }
}

TEST_P(EachFormat, ADamagedChecksumYieldsNothing) {
  std::string payload = GetParam().pack(std::string(1000, 'x'));
  if (GetParam().name == "Gzip") payload[payload.size() - 8] ^= 1;
  if (GetParam().name == "Bzip2") payload[10] ^= 1;
  if (GetParam().name == "XZ") payload[payload.size() - 40] ^= 1;
  EXPECT_EQ(GetParam().unpacked(payload), std::nullopt);
}

TEST_P(EachFormat, OnlyTheFirstOfTwoConcatenatedMembersIsUnpacked) {
  EXPECT_THAT(GetParam().unpacked(GetParam().pack("first") + GetParam().pack("second")),
              Optional(Eq("first")));
}

TEST_P(EachFormat, BytesAfterTheEndAreIgnored) {
  EXPECT_THAT(GetParam().unpacked(GetParam().pack("text") + "other bytes"), Optional(Eq("text")));
}

TEST_P(EachFormat, BytesOfAnyKindEndTheUnpacking) {
  std::mt19937 random(11);
  const std::string magic = GetParam().pack("").substr(0, 4);
  for (int i = 0; i < 2000; ++i) {
    std::string bytes = i % 2 == 0 ? magic : "";
    for (std::size_t count = random() % 300; count > 0; --count) {
      bytes += static_cast<char>(random());
    }
    EXPECT_EQ(GetParam().unpacked(bytes), std::nullopt);
  }
}

TEST_P(EachFormat, TheMaximumSizeIsAllowedAndOneByteMoreIsNot) {
  for (const std::size_t size : {1U, 100U, 5000U, 3'000'000U}) {
    const std::string payload = GetParam().pack(std::string(size, 'x'));
    EXPECT_TRUE(GetParam().unpack(payload, size)) << size;
    EXPECT_EQ(GetParam().unpack(payload, size - 1), std::nullopt) << size;
  }
}

TEST_P(EachFormatDeathTest, WithoutMemoryForTheOutputItThrows) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  const std::string payload = GetParam().pack(std::string(40'000'000, '\0'));
  EXPECT_EXIT(
      {
        haveLittleMemory();
        try {
          GetParam().unpacked(payload);
        } catch (const std::bad_alloc&) {
          std::_Exit(0);
        }
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), "");
}

// In bytes, of the whole process; 0 where it would not do.
std::size_t memoryToUnpack(const Format& format, const std::string& payload) {
  const auto peak = [] {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::size_t>(usage.ru_maxrss) * 1024;
  };
  const std::size_t before = peak();
  return format.unpacked(payload) ? peak() - before : 0;
}

TEST_P(EachFormatDeathTest, TheOutputIsNotInMemoryTwice) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers keep what was freed";
  constexpr std::size_t kSize = std::size_t{100} << 20;
  const std::string payload = GetParam().pack(std::string(kSize, 'x'));
  EXPECT_EXIT(
      {
        const std::size_t memory = memoryToUnpack(GetParam(), payload);
        std::cerr << memory << " bytes";
        std::_Exit(memory > kSize / 10 * 9 && memory < kSize / 10 * 12 ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(PayloadDecoder, AZlibWrappedPayloadYieldsNothing) {
  EXPECT_EQ(unpackGzip(zlibWrapped("text")), std::nullopt);
}

TEST(PayloadDecoder, BareDeflateDataYieldsNothing) {
  EXPECT_EQ(unpackGzip(bareDeflated("text")), std::nullopt);
}

TEST(PayloadDecoder, AnXZPayloadMayAskForADictionaryOf64MiB) {
  std::string text;
  for (int i = 0; i < 20'000; ++i) text += "Package: " + std::to_string(i) + "\n";
  EXPECT_TRUE(unpackXZ(xzedAtItsBest(text)) == text);
}

TEST(PayloadDecoder, MoreThanHalfAGibibyteIsNotUnpacked) {
  const std::optional<std::string> few = unpackGzip(gzipOfZeros(3));
  EXPECT_TRUE(few == std::string(std::size_t{3} << 20, '\0'));
  EXPECT_FALSE(unpackGzip(gzipOfZeros(513)));
}

TEST(PayloadDecoder, AnXZDictionaryMayBeLargeWhereTheTextIsNot) {
  const std::string text(1'000'000, 'x');
  EXPECT_TRUE(unpackXZ(xzedWithDictionary(text, 28)) == text);
}

TEST(PayloadDecoderDeathTest, WithoutMemoryForAnXZDictionaryItThrows) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  const std::string payload = xzedWithDictionary("text", 28);
  EXPECT_EXIT(
      {
        haveLittleMemory();
        try {
          unpackXZ(payload);
        } catch (const std::bad_alloc&) {
          std::_Exit(0);
        }
        std::_Exit(1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(PayloadDecoder, AnXZTextAndItsDictionaryAreNotBothOfHundredsOfMegabytes) {
  const std::string text(std::size_t{120} << 20, 'x');
  EXPECT_TRUE(unpackXZ(xzedWithDictionary(text, 26)) == text);
  EXPECT_FALSE(unpackXZ(xzedWithDictionary(text, 28)));
}

}  // namespace
}  // namespace tolvane
