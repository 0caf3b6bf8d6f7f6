// SPDX-License-Identifier: MIT
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <sys/resource.h>
#include <system_error>
#include <thread>
#include <unistd.h>

#include "base/Process.h"
#include "base/TemporaryFile.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The process that ends is started anew, and uses the folder of the one that started it. It makes
// files as on a file system without unnamed files.
class ProcessDeathTest : public testing::Test {
 protected:
  ProcessDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("TOLVANE_TEST_FOLDER", folder_.path().c_str(), 0);
  }
  ~ProcessDeathTest() override { unsetenv("TOLVANE_TEST_FOLDER"); }

  // Prepares the process and writes half a file in the folder; ends with another status if that has
  // no name.
  TemporaryFile begin() const {
    std::filesystem::remove(folder_.path());  // whose destructor does not run
    prepareProcess();
    TemporaryFile::allowUnnamedFiles(false);
    TemporaryFile file;
    if (file.open(parentsFolder()) || file.write("half", 4)) std::_Exit(71);
    if (std::filesystem::is_empty(parentsFolder())) std::_Exit(72);
    return file;
  }

  static std::string parentsFolder() { return std::getenv("TOLVANE_TEST_FOLDER"); }

  [[noreturn]] void endBySignal(int signal) const {
    const TemporaryFile file = begin();
    ::kill(::getpid(), signal);
    for (;;) ::pause();
  }

  template <typename Exception>
  [[noreturn]] void endByException(const Exception& exception) const {
    const TemporaryFile file = begin();
    std::thread([&] { throw exception; }).join();
    std::_Exit(73);
  }

  const TemporaryFolder folder_;
};

class ProcessSignalDeathTest : public ProcessDeathTest, public testing::WithParamInterface<int> {};

TEST_P(ProcessSignalDeathTest, TheProcessDiesOfTheSignalAndLeavesNoTemporaryFile) {
  EXPECT_EXIT(endBySignal(GetParam()), testing::KilledBySignal(GetParam()), "");
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_P(ProcessSignalDeathTest, FilesThatAreMadeMeanwhileLeaveNoTemporaryFile) {
  const auto makeFilesUntilTheEnd = [this] {
    const TemporaryFile file = begin();
    for (int i = 0; i < 4; ++i) {
      std::thread([] {
        for (;;) {
          TemporaryFile next;
          if (next.open(parentsFolder())) ::pause();
        }
      }).detach();
    }
    ::usleep(20000);
    ::kill(::getpid(), GetParam());
    for (;;) ::pause();
  };
  for (int round = 0; round < 5; ++round) {
    EXPECT_EXIT(makeFilesUntilTheEnd(), testing::KilledBySignal(GetParam()), "");
    ASSERT_THAT(folder_.names(), IsEmpty()) << "round " << round;
  }
}

TEST_P(ProcessSignalDeathTest, ASignalThatTheParentIgnoresStaysIgnored) {
  const auto goOn = [this] {
    std::signal(GetParam(), SIG_IGN);
    const TemporaryFile file = begin();
    ::kill(::getpid(), GetParam());
    ::usleep(50000);
    std::_Exit(74);
  };
  EXPECT_EXIT(goOn(), testing::ExitedWithCode(74), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, ProcessSignalDeathTest, testing::Values(SIGHUP, SIGINT, SIGTERM));

TEST_F(ProcessDeathTest, ALackOfMemoryOnAnyThreadEndsWithAMessageAndNoTemporaryFile) {
  EXPECT_EXIT(endByException(std::bad_alloc()), testing::ExitedWithCode(1), "^Not enough memory.");
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(ProcessDeathTest, ALackOfThreadsEndsWithAMessageAndNoTemporaryFile) {
  const auto noThread =
      std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
  EXPECT_EXIT(endByException(noThread), testing::ExitedWithCode(1),
              "^The system has no thread to spare.");
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(ProcessDeathTest, AnyOtherExceptionAbortsAndLeavesNoTemporaryFile) {
  EXPECT_EXIT(endByException(std::logic_error("a fault")), testing::KilledBySignal(SIGABRT), "");
  EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(ProcessDeathTest, AWriteBeyondTheLimitOfAFilesSizeFailsAndNothingElseDoes) {
  const auto writeTooMuch = [this] {
    TemporaryFile file = begin();
    const rlimit limit{100, 100};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const std::string bytes(1000, 'x');
    const std::optional<Error> error = file.write(bytes.data(), bytes.size());
    std::_Exit(error == posixError(EFBIG) ? 74 : 75);
  };
  EXPECT_EXIT(writeTooMuch(), testing::ExitedWithCode(74), "");
}

TEST_F(ProcessDeathTest, TheSoftLimitOfOpenFilesIsRaisedToTheHardOne) {
  const auto open100Files = [this] {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = 50;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    const TemporaryFile file = begin();
    for (int i = 0; i < 100; ++i) {
      if (::dup(STDERR_FILENO) < 0) std::_Exit(75);
    }
    std::_Exit(74);
  };
  EXPECT_EXIT(open100Files(), testing::ExitedWithCode(74), "");
}

}  // namespace
}  // namespace tolvane
