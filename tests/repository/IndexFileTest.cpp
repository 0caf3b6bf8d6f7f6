// SPDX-License-Identifier: MIT
#include <cerrno>
#include <cstring>
#include <fstream>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include "repository/IndexFile.h"
#include "repository/Installer3RepositoryFetcher.h"
#include "repository/RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/repository/LittleMemory.h"
#include "tests/support/Payloads.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string kAPTIndex = "Package: com.example.a\nFilename: a.deb\n";  // 39 characters
const std::string kInstaller4Index = packagesList("{ identifier = b; url = \"http://b\"; }");
const std::string kInstaller3Index = packagesList("{ bundleIdentifier = c; location = c.zip; }");

class IndexFile : public testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& bytes) const {
    std::ofstream(folder_.path(name), std::ios::binary) << bytes;
    return folder_.path(name);
  }

  // The only package of a file that must have exactly one.
  static PackageEntry packageIn(const std::string& path, RepositoryKind kind) {
    const IndexFileResult result = readIndexFile(path, kind);
    EXPECT_EQ(result.error, std::nullopt);
    if (result.packages.size() == 1) return result.packages.front();
    ADD_FAILURE() << result.packages.size() << " packages in " << path;
    return PackageEntry();
  }

  // Why a file gives no packages; that must have been logged once.
  static Error errorOf(const std::string& path, RepositoryKind kind) {
    const LogRecorder log;
    const IndexFileResult result = readIndexFile(path, kind);
    EXPECT_TRUE(result.packages.empty());
    if (!result.error) {
      ADD_FAILURE() << "no error for " << path;
      return {};
    }
    const std::string report = "error: " + result.error->description;
    EXPECT_THAT(log.messages(), Contains(report).Times(1));
    return *result.error;
  }

  const TemporaryFolder folder_;
};

using IndexFileDeathTest = IndexFile;

TEST_F(IndexFile, AnAPTIndexIsUnpackedByTheEndingOfItsName) {
  for (const auto& [name, bytes] : {std::pair<std::string, std::string>{"Packages", kAPTIndex},
                                    {"saved.txt", kAPTIndex},
                                    {"Packages.gz", gzipped(kAPTIndex)},
                                    {"Packages.bz2", bzip2ed(kAPTIndex)},
                                    {"Packages.xz", xzed(kAPTIndex)}}) {
    EXPECT_EQ(packageIn(write(name, bytes), RepositoryKind::apt).packageName(), "com.example.a")
        << name;
  }
}

TEST_F(IndexFile, AnAPTIndexIsReportedAsAWalkReportsIt) {
  const std::string path = write("Packages", kAPTIndex);
  const LogRecorder log;
  readIndexFile(path, RepositoryKind::apt);
  EXPECT_THAT(log.messages(), ElementsAre("info: Reading index file: " + path,
                                          "success: Decoded Packages file (39 chars)",
                                          "success: Parsed 1 package(s)"));
}

TEST_F(IndexFile, AnInstaller3ListIsRead) {
  const PackageEntry package =
      packageIn(write("list", kInstaller3Index), RepositoryKind::installer3);
  EXPECT_EQ(package.packageName(), "c");
  EXPECT_TRUE(package.installer3Package());
}

TEST_F(IndexFile, AnInstaller4IndexIsRead) {
  const std::string path = write("index.plist", kInstaller4Index);
  const LogRecorder log;
  const PackageEntry package = packageIn(path, RepositoryKind::installer4);
  EXPECT_EQ(package.packageName(), "b");
  EXPECT_TRUE(package.installer4Package());
  EXPECT_THAT(log.messages(),
              ElementsAre("info: Reading index file: " + path, "success: Parsed 1 package(s)"));
}

TEST_F(IndexFile, DetectionTakesAPTFirstAndThenInstaller4) {
  EXPECT_EQ(packageIn(write("a.gz", gzipped(kAPTIndex)), RepositoryKind::automatic).packageName(),
            "com.example.a");
  EXPECT_EQ(packageIn(write("b", kInstaller4Index), RepositoryKind::automatic).packageName(), "b");
}

TEST_F(IndexFile, DetectionNeverFindsInstaller3) {
  const Error error = errorOf(write("list", kInstaller3Index), RepositoryKind::automatic);
  EXPECT_EQ(error.domain, kIndexFileErrorDomain);
  EXPECT_EQ(error.code, kIndexWithoutPackagesError);
}

TEST_F(IndexFile, AsAPTAnInstaller4IndexIsNotDetected) {
  EXPECT_EQ(packageIn(write("a", kAPTIndex), RepositoryKind::apt).packageName(), "com.example.a");
  EXPECT_EQ(errorOf(write("b", kInstaller4Index), RepositoryKind::apt).code,
            kIndexWithoutPackagesError);
}

TEST_F(IndexFile, ADamagedFileCannotBeDecoded) {
  const std::string payload = gzipped(kAPTIndex);
  for (const RepositoryKind kind : {RepositoryKind::apt, RepositoryKind::automatic}) {
    const Error error = errorOf(write("a.gz", payload.substr(0, payload.size() / 2)), kind);
    EXPECT_EQ(error.domain, kIndexFileErrorDomain);
    EXPECT_EQ(error.code, kIndexNotReadableError);
    EXPECT_EQ(error.description, "The index file could not be decoded.");
  }
}

TEST_F(IndexFile, ADamagedPropertyListGivesTheReadersWords) {
  const std::string path = write("list", "{ packages = (");
  const Error error = errorOf(path, RepositoryKind::installer3);
  EXPECT_EQ(error.domain, kPropertyListErrorDomain);
  EXPECT_THAT(error.description, HasSubstr("cannot be read"));
  EXPECT_EQ(errorOf(path, RepositoryKind::installer4).description,
            "Installer 4 index could not be parsed: " + path);
}

TEST_F(IndexFile, APropertyListWithoutPackagesGivesTheReadersWords) {
  const std::string path = write("list", "{ a = b; }");
  const Error error = errorOf(path, RepositoryKind::installer3);
  EXPECT_EQ(error.domain, kInstaller3ErrorDomain);
  EXPECT_EQ(error.code, kNoPackagesArrayError);
  EXPECT_EQ(errorOf(path, RepositoryKind::installer4).description,
            "Installer 4 index contains no packages array: " + path);
}

TEST_F(IndexFile, APropertyListThatIsNoDictionaryIsNotReadable) {
  const std::string path = write("list", "(a, b)");
  EXPECT_EQ(errorOf(path, RepositoryKind::installer3).description,
            "Installer 3 repository could not be parsed as a plist.");
  EXPECT_EQ(errorOf(path, RepositoryKind::installer4).code, kIndexNotReadableError);
}

TEST_F(IndexFile, AnIndexWithoutPackagesIsAnError) {
  const std::string apt = write("a", "Package: a\n");
  const std::string list = write("b", packagesList(""));
  for (const auto& [path, kind] : {std::pair{apt, RepositoryKind::apt},
                                   {apt, RepositoryKind::automatic},
                                   {list, RepositoryKind::automatic},
                                   {list, RepositoryKind::installer3}}) {
    EXPECT_EQ(errorOf(path, kind).description, "The index file contains no packages.")
        << static_cast<int>(kind);
  }
  EXPECT_EQ(errorOf(list, RepositoryKind::installer4).description,
            "Installer 4 index contained zero usable packages: " + list);
}

TEST_F(IndexFile, AnEmptyFileIsAnError) {
  const std::string path = write("empty", "");
  for (const RepositoryKind kind : {RepositoryKind::apt, RepositoryKind::automatic,
                                    RepositoryKind::installer3, RepositoryKind::installer4}) {
    EXPECT_NE(errorOf(path, kind).description, "") << static_cast<int>(kind);
  }
  EXPECT_EQ(errorOf(write("empty.gz", ""), RepositoryKind::apt).code, kIndexNotReadableError);
}

TEST_F(IndexFile, WhatIsNoFileGivesTheSystemsWords) {
  const auto expectError = [](const std::string& path, int number) {
    for (const RepositoryKind kind : {RepositoryKind::apt, RepositoryKind::automatic,
                                      RepositoryKind::installer3, RepositoryKind::installer4}) {
      EXPECT_EQ(errorOf(path, kind), posixError(number)) << path;
    }
  };
  expectError(folder_.path("missing"), ENOENT);
  expectError(folder_.path(), EISDIR);
  expectError(write("file", "") + "/below", ENOTDIR);
  expectError("", EINVAL);
}

TEST_F(IndexFileDeathTest, AFileThatMayNotBeReadGivesTheSystemsWords) {
  const std::string path = write("secret", kAPTIndex);
  ASSERT_EQ(::chmod(path.c_str(), 0), 0);
  EXPECT_EXIT(
      {
        // As an ordinary user, who cannot read everything.
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
          std::_Exit(2);
        }
        std::_Exit(errorOf(path, RepositoryKind::apt) == posixError(EACCES) ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(IndexFile, AFileOfMoreThanHalfAGibibyteIsTooLarge) {
  const std::string path = write("large", "");
  ASSERT_EQ(::truncate(path.c_str(), (off_t{512} << 20) + 1), 0);
  EXPECT_EQ(errorOf(path, RepositoryKind::apt), posixError(EFBIG));
}

TEST_F(IndexFileDeathTest, WantOfMemoryIsSaid) {
  if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  const std::string unpacked = write("a", std::string(40'000'000, '\n'));
  const std::string packed = write("a.gz", gzipped(std::string(40'000'000, '\n')));
  for (const std::string& path : {packed, unpacked}) {
    EXPECT_EXIT(
        {
          haveLittleMemory();
          const LogRecorder log;
          const bool isSaid = errorOf(path, RepositoryKind::apt) == posixError(ENOMEM);
          EXPECT_THAT(log.lines(),
                      Contains("[Crawler] Not enough memory for package index: " + path));
          std::_Exit(isSaid && !HasFailure() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
  }
}

}  // namespace
}  // namespace tolvane
