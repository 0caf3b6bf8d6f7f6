// SPDX-License-Identifier: MIT
// Size and digests of a file that has arrived.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "download/DownloadManager.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMD5OfHello = "5d41402abc4b2a76b9719d911017c592";
constexpr const char* kSHA256OfHello =
    "2cf24dba5fb0a30e26e83b2ac5b9e29e1b161e5c1fa7425e73043362938b9824";
constexpr const char* kWrongMD5 = "00000000000000000000000000000000";
constexpr const char* kWrongSHA256 =
    "0000000000000000000000000000000000000000000000000000000000000000";

// A file "foo.deb" that holds "hello", and the index fields of it.
class Validation : public testing::Test {
 protected:
  std::optional<Error> validate(PackageEntry::Dictionary index) const {
    return validate(path_, std::move(index));
  }

  static std::optional<Error> validate(const std::string& path, PackageEntry::Dictionary index) {
    index.emplace("Package", "foo");
    return DownloadManager::validationErrorForPackage(PackageEntry(index), path);
  }

  static Error managerError(int code, std::string text) {
    return {"DownloadManager", code, std::move(text)};
  }

  const TemporaryFolder folder_;
  const std::string path_ = folder_.write("foo.deb", "hello");
  const LogRecorder log_;
};

TEST_F(Validation, OfAFileThatIsNotThereFails) {
  EXPECT_EQ(validate(folder_.path("bar.deb"), {}),
            managerError(2001, "Downloaded file does not exist."));
}

TEST_F(Validation, WithNothingToCheckPasses) {
  EXPECT_EQ(validate({}), std::nullopt);
}

TEST_F(Validation, ChecksTheSize) {
  EXPECT_EQ(validate({{"Size", "5"}}), std::nullopt);
  EXPECT_EQ(validate({{"Size", "6"}}),
            managerError(2002, "Size mismatch for foo. Expected 6 bytes, got 5 bytes."));
}

TEST_F(Validation, OfA1000ByteFileGivenAs1234NamesBothSizes) {
  folder_.write("foo.deb", std::string(1000, 'x'));
  EXPECT_EQ(validate({{"Size", "1234"}}),
            managerError(2002, "Size mismatch for foo. Expected 1234 bytes, got 1000 bytes."));
}

TEST_F(Validation, ReadsTheLeadingNumberOfTheSize) {
  EXPECT_EQ(validate({{"Size", " 5 bytes"}}), std::nullopt);
  EXPECT_EQ(validate({{"Size", "6 5"}}),
            managerError(2002, "Size mismatch for foo. Expected 6 bytes, got 5 bytes."));
}

TEST_F(Validation, DoesNotCompareASizeOf0OrUnreadableText) {
  EXPECT_EQ(validate({{"Size", "0"}}), std::nullopt);
  EXPECT_EQ(validate({{"Size", "unknown 6"}}), std::nullopt);
}

TEST_F(Validation, TakesANegativeSizeForAMismatch) {
  EXPECT_EQ(validate({{"Size", "-1"}}),
            managerError(2002,
                         "Size mismatch for foo. Expected 18446744073709551615 bytes, got 5 "
                         "bytes."));
}

TEST_F(Validation, ChecksTheMD5) {
  EXPECT_EQ(validate({{"MD5sum", kMD5OfHello}}), std::nullopt);
  EXPECT_EQ(validate({{"MD5sum", kWrongMD5}}), managerError(2003, "MD5 mismatch for foo."));
}

TEST_F(Validation, ChecksTheSHA256) {
  EXPECT_EQ(validate({{"SHA256", kSHA256OfHello}}), std::nullopt);
  EXPECT_EQ(validate({{"SHA256", kWrongSHA256}}), managerError(2004, "SHA256 mismatch for foo."));
}

TEST_F(Validation, TakesDigestsInUpperCase) {
  EXPECT_EQ(
      validate({{"MD5sum", "5D41402ABC4B2A76B9719D911017C592"},
                {"SHA256", "2CF24DBA5FB0A30E26E83B2AC5B9E29E1B161E5C1FA7425E73043362938B9824"}}),
      std::nullopt);
}

TEST_F(Validation, DoesNotTrimDigests) {
  EXPECT_EQ(validate({{"MD5sum", std::string(kMD5OfHello) + " "}}),
            managerError(2003, "MD5 mismatch for foo."));
}

TEST_F(Validation, APassingMD5DoesNotSkipTheSHA256) {
  EXPECT_EQ(validate({{"MD5sum", kMD5OfHello}, {"SHA256", kWrongSHA256}}),
            managerError(2004, "SHA256 mismatch for foo."));
}

TEST_F(Validation, ReturnsTheFirstFailureOfSizeMD5AndSHA256) {
  EXPECT_EQ(validate({{"Size", "6"}, {"MD5sum", kWrongMD5}, {"SHA256", kWrongSHA256}}),
            managerError(2002, "Size mismatch for foo. Expected 6 bytes, got 5 bytes."));
  EXPECT_EQ(validate({{"MD5sum", kWrongMD5}, {"SHA256", kWrongSHA256}}),
            managerError(2003, "MD5 mismatch for foo."));
}

TEST_F(Validation, OfWhatCannotBeReadFailsAtTheFirstDigestGiven) {
  EXPECT_EQ(validate(folder_.path(), {{"MD5sum", kMD5OfHello}, {"SHA256", kSHA256OfHello}}),
            managerError(2003, "MD5 mismatch for foo."));
  EXPECT_EQ(validate(folder_.path(), {{"SHA256", kSHA256OfHello}}),
            managerError(2004, "SHA256 mismatch for foo."));
}

TEST_F(Validation, NamesAPackageWithoutNameByItsEmptyName) {
  EXPECT_EQ(validate({{"Package", ""}, {"Filename", "pool/foo.deb"}, {"MD5sum", kWrongMD5}}),
            managerError(2003, "MD5 mismatch for ."));
}

TEST_F(Validation, ThatPassesIsLoggedWithTheNameOfTheFile) {
  EXPECT_EQ(validate({{"Filename", "pool/other.deb"}, {"Size", "5"}}), std::nullopt);
  EXPECT_THAT(log_.messages(), ElementsAre("success: Verified foo.deb"));
  EXPECT_THAT(log_.lines(), ElementsAre("[Download] Verified foo.deb"));
}

TEST_F(Validation, ThatFailsLogsNothing) {
  validate({{"Size", "6"}});
  EXPECT_THAT(log_.messages(), IsEmpty());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(Validation, DigestsAreLowerCaseHexadecimal) {
  EXPECT_EQ(DownloadManager::hashForFileAtPath(path_, "MD5"), kMD5OfHello);
  EXPECT_EQ(DownloadManager::hashForFileAtPath(path_, "SHA256"), kSHA256OfHello);
}

TEST_F(Validation, EveryOtherTypeOfDigestIsMD5) {
  EXPECT_EQ(DownloadManager::hashForFileAtPath(path_, "sha256"), kMD5OfHello);
  EXPECT_EQ(DownloadManager::hashForFileAtPath(path_, ""), kMD5OfHello);
}

TEST_F(Validation, AFileThatCannotBeOpenedHasNoDigest) {
  EXPECT_EQ(DownloadManager::hashForFileAtPath(folder_.path("bar.deb"), "MD5"), std::nullopt);
  EXPECT_EQ(DownloadManager::hashForFileAtPath(folder_.path("bar.deb"), "SHA256"), std::nullopt);
}

}  // namespace
}  // namespace tolvane
