// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <string>

#include "base/Digest.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

constexpr DigestSelection kBoth{.md5 = true, .sha256 = true};

FileDigests digestsOf(const std::string& bytes, DigestSelection selection = kBoth) {
  const TemporaryFolder folder;
  const auto digests = digestsOfFile(folder.write("file", bytes), selection);
  EXPECT_TRUE(digests);
  return digests.value_or(FileDigests());
}

TEST(Digest, KnownTextsHaveTheirPublishedDigests) {
  EXPECT_EQ(digestsOf("").md5, "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(digestsOf("").sha256,
            "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(digestsOf("abc").md5, "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(digestsOf("abc").sha256,
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, AFileOfManyChunksIsReadWhole) {
  const std::string millionA(1'000'000, 'a');
  EXPECT_EQ(digestsOf(millionA).md5, "7707d6ae4e027c70eea2a935c2296f21");
  EXPECT_EQ(digestsOf(millionA).sha256,
            "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
  // 3 MiB and one byte of zeros.
  EXPECT_EQ(digestsOf(std::string((3 << 20) + 1, '\0')).sha256,
            "5983281b51c767c831104f52c95e4075f27e6f4fa8dd0526e3929f79176a1217");
  EXPECT_EQ(digestsOf(std::string((3 << 20) + 1, '\0')).md5, "c5dc5cd5b301f69bc6a4667dc9b782e4");
}

TEST(Digest, OnlyWhatIsSelectedIsComputed) {
  const auto md5 = digestsOf("abc", {.md5 = true, .sha256 = false});
  EXPECT_EQ(md5.md5, "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(md5.sha256, "");
  const auto sha256 = digestsOf("abc", {.md5 = false, .sha256 = true});
  EXPECT_EQ(sha256.md5, "");
  EXPECT_EQ(sha256.sha256, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, AFileThatCannotBeOpenedHasNone) {
  const TemporaryFolder folder;
  EXPECT_FALSE(digestsOfFile(folder.path("missing"), kBoth));
  EXPECT_FALSE(digestsOfFile("", kBoth));
}

TEST(Digest, AFileThatCannotBeReadHasNoneWhateverIsSelected) {
  const TemporaryFolder folder;
  EXPECT_FALSE(digestsOfFile(folder.path(), kBoth));
  EXPECT_FALSE(digestsOfFile(folder.path(), {}));
}

TEST(Digest, APathWithNulHasNone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "abc");
  EXPECT_FALSE(digestsOfFile(path + std::string(1, '\0') + "x", kBoth));
}

}  // namespace
}  // namespace tolvane
