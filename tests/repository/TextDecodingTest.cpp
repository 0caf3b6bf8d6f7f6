// SPDX-License-Identifier: MIT
#include "repository/RepositoryFetcher.h"
#include "tests/repository/LittleMemory.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using testing::Eq;
using testing::Optional;

const std::string kMark = "\xEF\xBB\xBF";

TEST(TextDecoding, ReadsUTF8) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData("caf\u00E9"), Optional(Eq("caf\u00E9")));
}

TEST(TextDecoding, AnEmptyBodyIsTheEmptyText) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData(""), Optional(Eq("")));
}

TEST(TextDecoding, BytesThatAreNoUTF8AreReadAsLatin1WithAllCharactersKept) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData("caf\xE9 \x80\xFF"),
              Optional(Eq("caf\u00E9 \u0080\u00FF")));
}

TEST(TextDecoding, OverlongFormsAndSurrogatesAreLatin1) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData("\xC0\xAF"), Optional(Eq("\u00C0\u00AF")));
  EXPECT_THAT(RepositoryFetcher::stringFromTextData("\xED\xA0\x80"),
              Optional(Eq("\u00ED\u00A0\u0080")));
}

TEST(TextDecoding, ALeadingUTF8MarkIsDropped) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData(kMark + "a" + kMark),
              Optional(Eq("a" + kMark)));
}

TEST(TextDecoding, InLatin1AByteOrderMarkIsTextLikeAnyOther) {
  EXPECT_THAT(RepositoryFetcher::stringFromTextData(kMark + "\xE9"),
              Optional(Eq("\u00EF\u00BB\u00BF\u00E9")));
}

TEST(TextDecoding, ValidTextIsReturnedWithoutACopy) {
  std::string text(1000, 'x');
  const char* const data = text.data();
  const std::optional<std::string> decoded = RepositoryFetcher::stringFromTextData(std::move(text));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->data(), data);
}

TEST(TextDecoding, DecompressedBytesAreDecodedToo) {
  EXPECT_THAT(RepositoryFetcher::stringFromGzipData(gzipped("\xE9")), Optional(Eq("\u00E9")));
  EXPECT_THAT(RepositoryFetcher::stringFromBzip2Data(bzip2ed("\xE9")), Optional(Eq("\u00E9")));
  EXPECT_THAT(RepositoryFetcher::stringFromXZData(xzed("\xE9")), Optional(Eq("\u00E9")));
}

TEST(TextDecoding, AnEmptyBodyDecompressesToNothing) {
  EXPECT_EQ(RepositoryFetcher::stringFromGzipData(""), std::nullopt);
  EXPECT_EQ(RepositoryFetcher::stringFromBzip2Data(""), std::nullopt);
  EXPECT_EQ(RepositoryFetcher::stringFromXZData(""), std::nullopt);
}

TEST(TextDecoding, ThePathsEndingChoosesTheDecoder) {
  EXPECT_THAT(RepositoryFetcher::stringFromData(gzipped("text"), "a.gz"), Optional(Eq("text")));
  EXPECT_THAT(RepositoryFetcher::stringFromData(bzip2ed("text"), "a.bz2"), Optional(Eq("text")));
  EXPECT_THAT(RepositoryFetcher::stringFromData(xzed("text"), "a.xz"), Optional(Eq("text")));
  for (const char* path : {"Packages", "a.GZ", "a.gz.txt", "agz", ""}) {
    EXPECT_THAT(RepositoryFetcher::stringFromData("text", path), Optional(Eq("text"))) << path;
  }
}

TEST(TextDecoding, TheBytesThemselvesDoNotChooseIt) {
  for (const char* path : {"a.gz", "a.bz2", "a.xz"}) {
    EXPECT_EQ(RepositoryFetcher::stringFromData("text", path), std::nullopt) << path;
  }
  EXPECT_EQ(RepositoryFetcher::stringFromData(gzipped("text"), "a.xz"), std::nullopt);
  EXPECT_NE(RepositoryFetcher::stringFromData(gzipped("text"), "Packages"), "text");
}

TEST(TextDecodingDeathTest, WithoutMemoryForTheTextThereIsNothing) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  EXPECT_EXIT(
      {
        std::string bytes(12'000'000, '\xE9');
        haveLittleMemory();
        std::_Exit(RepositoryFetcher::stringFromTextData(std::move(bytes)) ? 1 : 0);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tolvane
