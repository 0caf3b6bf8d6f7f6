// SPDX-License-Identifier: MIT
// Downloads under low limits of the system. The program runs as an ordinary user, because root is
// exempt from some limits.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "base/Error.h"
#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

constexpr int kPackages = 200;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kIsSanitized = true;  // needs address space, threads and files of its own
#else
constexpr bool kIsSanitized = false;
#endif

class ProgramLimits : public testing::Test {
 protected:
  void SetUp() override {
    if (kIsSanitized) GTEST_SKIP() << "the sanitizer's own needs exceed the limits";
    if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    if (run({"true"}).status != 0) GTEST_SKIP() << "setpriv cannot change the user";
    std::filesystem::permissions(folder_.path(), std::filesystem::perms::all);
    std::string index;
    for (int i = 0; i < kPackages; ++i) {
      const std::string name = "p" + std::to_string(i);
      index += stanza(name, trueChecks());
      server_.on("/debs/" + name + ".deb", respond(200, kPackageBody));
    }
    server_.on("/Packages", respond(200, index));
  }

  // Another program instead of tolvane-cli, as the same user and under the same limits.
  CommandResult run(const std::vector<std::string>& command,
                    const std::vector<std::string>& limits = {}) const {
    std::vector<std::string> words = asUserUnder(limits);
    words.insert(words.end(), command.begin(), command.end());
    return runProgram({}, {.startedBy = words});  // appends a word that all of them ignore
  }

  CommandResult download(const std::vector<std::string>& limits,
                         const std::vector<std::string>& options = {}) const {
    std::vector<std::string> arguments{"download", server_.url("/"), folder_.path(), "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return runProgram(arguments, {.startedBy = asUserUnder(limits)});
  }

  void expectOnlyWholeFiles() const {
    for (const std::string& name : folder_.names()) {
      EXPECT_EQ(folder_.read(name), kPackageBody) << name;
    }
  }

  // Either everything is downloaded or the program reports that it is not.
  void expectAnOrderlyEnd(const CommandResult& result, const std::string& limit) const {
    EXPECT_THAT(result.status, AnyOf(kExitDone, kExitFailed, kExitNotLoaded))
        << limit << ": " << result.errorOutput;
    EXPECT_TRUE(result.status == kExitDone || !result.errorOutput.empty()) << limit;
    expectOnlyWholeFiles();
  }

  LoopbackServer server_;
  TemporaryFolder folder_;

 private:
  static std::vector<std::string> asUserUnder(const std::vector<std::string>& limits) {
    // A user for this process alone, because a limit of threads counts all threads of a user.
    const std::string user = std::to_string(60000 + ::getpid() % 5000);
    std::vector<std::string> words{"setpriv", "--reuid=" + user, "--regid=" + user,
                                   "--clear-groups"};
    if (!limits.empty()) words.emplace_back("prlimit");
    words.insert(words.end(), limits.begin(), limits.end());
    return words;
  }
};

TEST_F(ProgramLimits, FewOpenFilesFailNoPackage) {
  const auto limitOf = [](int files) {
    return "--nofile=" + std::to_string(files) + ":" + std::to_string(files);
  };
  const std::vector<std::string> takeNumber40{"python3", "-c", "import os; os.dup2(0, 40)"};
  ASSERT_NE(run(takeNumber40, {limitOf(30)}).status, 0) << "no limit";
  ASSERT_EQ(run(takeNumber40, {limitOf(64)}).status, 0);
  for (const int files : {30, 40, 64, 100, 256}) {
    const CommandResult result = download({limitOf(files)}, {"--connections", "32"});
    EXPECT_EQ(result.status, kExitDone) << files << ": " << result.errorOutput;
    EXPECT_EQ(folder_.names().size(), std::size_t{kPackages}) << files;
    expectOnlyWholeFiles();
    for (const std::string& name : folder_.names()) std::filesystem::remove(folder_.path(name));
  }
}

TEST_F(ProgramLimits, TooFewOpenFilesAreNotReportedAsAnUnreachableServer) {
  for (const int files : {12, 14, 16, 18, 20, 22, 24, 26, 28}) {
    const std::string limit = "--nofile=" + std::to_string(files) + ":" + std::to_string(files);
    const CommandResult result = download({limit});
    expectAnOrderlyEnd(result, limit);
    EXPECT_THAT(result.errorOutput, Not(HasSubstr("Could not connect"))) << limit;
    EXPECT_THAT(result.errorOutput, Not(HasSubstr("could not be found"))) << limit;
  }
}

TEST_F(ProgramLimits, WithFewThreadsAllFilesArriveOrAMessageIsPrinted) {
  ASSERT_NE(run({"sh", "-c", "true & true & wait"}, {"--nproc=1:1"}).status, 0) << "no limit";
  int done = 0;
  for (int threads = 1; threads <= 20; ++threads) {
    const std::string limit = "--nproc=" + std::to_string(threads) + ":" + std::to_string(threads);
    const CommandResult result = download({limit});
    expectAnOrderlyEnd(result, limit);
    if (result.status == kExitDone && folder_.names().size() == kPackages) ++done;
  }
  EXPECT_GT(done, 0);
  EXPECT_EQ(download({"--nproc=8:8"}).status, kExitDone) << "fewer threads than it would like";
}

TEST_F(ProgramLimits, WithLittleMemoryAllFilesArriveOrAMessageIsPrinted) {
  ASSERT_NE(run({"python3", "-c", "bytearray(200000000)"}, {"--as=100000000"}).status, 0);
  int failed = 0;
  for (int megabytes = 30; megabytes <= 400; megabytes += 10) {
    const std::string limit = "--as=" + std::to_string(megabytes * 1000000);
    const CommandResult result = download({limit}, {"--connections", "32"});
    // With too little memory for the loader to map the libraries, the exit status is 127.
    if (result.status == 127) continue;
    expectAnOrderlyEnd(result, limit);
    if (result.status != kExitDone) ++failed;
    for (const std::string& name : folder_.names()) std::filesystem::remove(folder_.path(name));
  }
  EXPECT_GT(failed, 0) << "no limit was low enough";
}

TEST_F(ProgramLimits, AFileAboveTheLimitOfFileSizeFailsAndTheOthersArrive) {
  ASSERT_NE(run({"sh", "-c", "head -c 20000 /dev/zero > " + folder_.path("probe")},
                {"--fsize=10000:10000"})
                .status,
            0)
      << "no limit";
  std::filesystem::remove(folder_.path("probe"));
  server_.on("/debs/p7.deb", respond(200, std::string(20000, 'x')));
  // With --quiet, because the limit applies to the file of standard error too.
  const CommandResult result = download({"--fsize=10000:10000"}, {"--quiet"});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.errorOutput, HasSubstr("Download failed: " + posixError(EFBIG).description));
  EXPECT_EQ(nlohmann::json::parse(result.output).at("downloaded"), kPackages - 1);
  EXPECT_EQ(folder_.names().size(), kPackages - 1U);
  expectOnlyWholeFiles();
}

}  // namespace
}  // namespace tolvane
