// SPDX-License-Identifier: MIT
// What is logged and observed of an index for which memory does not suffice. Each test has a
// process of its own with little memory.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "repository/Installer3RepositoryFetcher.h"
#include "repository/Installer4RepositoryFetcher.h"
#include "repository/RepositoryFetcher.h"
#include "tests/repository/FetchOutcome.h"
#include "tests/repository/LittleMemory.h"
#include "tests/support/InstantClient.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

using List = std::optional<std::vector<PackageEntry>>;

const std::string kAddress = "http://repo.example/";
const std::string kLine = "[Crawler] Not enough memory for package index: " + kAddress;

// An observer's calls for one address: "-" for an answer without error, else the error's code.
struct Calls {
  std::string address;
  std::string calls;

  IndexObserver observer() {
    return [this](const IndexAnswer& answer) {
      if (absoluteText(answer.url) != address) return;
      calls += answer.error ? std::to_string(answer.error->code) : "-";
      if (answer.error && !answer.body.empty()) calls += " with a body";
      calls += ' ';
    };
  }
};

bool has(const std::vector<std::string>& reports, const std::string& report) {
  return std::ranges::find(reports, report) != reports.end();
}

// The end of a test's process: well when nothing is to be complained of.
[[noreturn]] void end(const std::string& complaint) {
  std::cerr << complaint << std::flush;
  std::_Exit(complaint.empty() ? 0 : 1);
}

// Reads an APT index of these bytes in little memory, and ends the process.
[[noreturn]] void readAPTIndex(const std::string& body, const std::string& path,
                               const std::string& warning) {
  const LogRecorder log;
  Calls calls{kAddress + path, ""};
  const RepositoryFetcher fetcher(
      [&](const auto&) { return std::make_shared<InstantClient>(body); }, calls.observer());
  const auto paths = std::make_shared<const std::vector<std::string>>(1, path);
  bool failed = false;
  haveLittleMemory();
  fetcher.tryCandidatePaths(paths, 0, URL::parse(kAddress), false,
                            [&](const List& list, const std::optional<Error>& error) {
                              failed = !list && error && error->code == 404;
                            });
  if (!failed) end("a list came");
  if (!has(log.lines(), kLine + path)) end("no line says so");
  if (!has(log.messages(), "warning: " + warning + kAddress + path)) end("no warning");
  end(calls.calls == "- 12 " ? "" : calls.calls);
}

template <typename Fetcher>
[[noreturn]] void readInstallerIndex(const std::string& body, const std::string& path) {
  const LogRecorder log;
  Calls calls{kAddress + path, ""};
  const Fetcher fetcher([&](const auto&) { return std::make_shared<InstantClient>(body); },
                        calls.observer());
  bool failed = false;
  haveLittleMemory();
  const auto completion = [&](const List& list, const std::optional<Error>& error) {
    failed = !list && error;
  };
  if constexpr (std::is_same_v<Fetcher, Installer4RepositoryFetcher>) {
    const auto paths = std::make_shared<const std::vector<std::string>>(1, path);
    fetcher.tryIndexCandidatePaths(paths, 0, URL::parse(kAddress), completion);
  } else {
    fetcher.fetchPackagesFromRepositoryURL(URL::parse(kAddress), completion);
  }
  if (!failed) end("a list came");
  if (!has(log.lines(), kLine + path)) end("no line says so");
  end(calls.calls == "- 12 " ? "" : calls.calls);
}

class IndexMemoryDeathTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!littleMemoryCanBeHad()) GTEST_SKIP() << "sanitizers need all the address space";
  }
};

const testing::ExitedWithCode kWell(0);
const std::string kNotDecoded = "Could not decode package index, trying next path: ";
const std::string kNoPackages = "Package index contained no packages, trying next candidate: ";

TEST_F(IndexMemoryDeathTest, UnpackingThatLacksMemoryIsSaid) {
  const std::string text(40'000'000, '\n');
  EXPECT_EXIT(readAPTIndex(gzipped(text), "Packages.gz", kNotDecoded), kWell, "");
  EXPECT_EXIT(readAPTIndex(bzip2ed(text), "Packages.bz2", kNotDecoded), kWell, "");
  EXPECT_EXIT(readAPTIndex(xzed(text), "Packages.xz", kNotDecoded), kWell, "");
}

TEST_F(IndexMemoryDeathTest, ConvertingLatin1ThatLacksMemoryIsSaid) {
  EXPECT_EXIT(readAPTIndex(std::string(9'000'000, '\xE9'), "Packages", kNotDecoded), kWell, "");
}

TEST_F(IndexMemoryDeathTest, RecordsThatLackMemoryAreSaid) {
  std::string text;
  for (int i = 0; i < 200'000; ++i) text += "Package:\nFilename:\n\n";
  EXPECT_EXIT(readAPTIndex(text, "Packages", kNoPackages), kWell, "");
}

TEST_F(IndexMemoryDeathTest, AnInstallerListThatLacksMemoryIsSaid) {
  std::string items;
  for (int i = 0; i < 200'000; ++i) items += "{name=a;},";
  const std::string list = packagesList(items);
  EXPECT_EXIT(readInstallerIndex<Installer3RepositoryFetcher>(list, ""), kWell, "");
  EXPECT_EXIT(readInstallerIndex<Installer4RepositoryFetcher>(list, "index.plist"), kWell, "");
}

TEST_F(IndexMemoryDeathTest, InstallerRecordsThatLackMemoryAreSaid) {
  const std::string list = packagesList("{name=" + std::string(3'500'000, 'a') + ";}");
  EXPECT_EXIT(readInstallerIndex<Installer3RepositoryFetcher>(list, ""), kWell, "");
  EXPECT_EXIT(readInstallerIndex<Installer4RepositoryFetcher>(list, "index.plist"), kWell, "");
}

// What a fetch of an answer reports for whose body there was no memory already.
template <typename Start>
std::vector<std::string> reportsWithoutBody(Start start) {
  ScriptedHTTPClient session;
  session.answerNext({.status = 200, .body = "", .error = posixError(ENOMEM)});
  const LogRecorder log;
  outcomeOf([&](auto completion) { start(session.factory(), std::move(completion)); });
  return log.reports();
}

TEST(IndexMemory, ABodyThatLacksMemoryIsSaidAndReportedOnce) {
  Calls calls{kAddress + "Packages", ""};
  const auto reports = reportsWithoutBody([&](const HTTPClientFactory& factory, auto completion) {
    RepositoryFetcher(factory, calls.observer())
        .fetchPackagesFromRepositoryURL(URL::parse(kAddress), std::move(completion));
  });
  EXPECT_THAT(reports, testing::Contains("success: Package index found: " + calls.address));
  EXPECT_THAT(reports, testing::Contains(kLine + "Packages"));
  EXPECT_THAT(reports, testing::Contains("warning: " + kNotDecoded + calls.address));
  EXPECT_EQ(calls.calls, "12 - ");  // the second is that of "./Packages"
}

TEST(IndexMemory, AnInstallerBodyThatLacksMemoryIsSaid) {
  EXPECT_THAT(reportsWithoutBody([](const HTTPClientFactory& factory, auto completion) {
                Installer3RepositoryFetcher(factory).fetchPackagesFromRepositoryURL(
                    URL::parse(kAddress), std::move(completion));
              }),
              testing::Contains(kLine));
  EXPECT_THAT(reportsWithoutBody([](const HTTPClientFactory& factory, auto completion) {
                Installer4RepositoryFetcher(factory).fetchPackagesFromRepositoryURL(
                    URL::parse(kAddress), std::move(completion));
              }),
              testing::Contains(kLine + "info/index.plist"));
}

TEST(IndexMemory, ADamagedIndexDoesNotLackMemory) {
  ScriptedHTTPClient session;
  session.answer(kAddress + "Packages.gz", {.body = "no gzip"});
  const LogRecorder log;
  outcomeOf([&](auto completion) {
    RepositoryFetcher(session.factory())
        .fetchPackagesFromRepositoryURL(URL::parse(kAddress), std::move(completion));
  });
  EXPECT_THAT(log.lines(),
              testing::Not(testing::Contains(testing::HasSubstr("Not enough memory"))));
}

}  // namespace
}  // namespace tolvane
