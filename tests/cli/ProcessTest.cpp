// SPDX-License-Identifier: MIT
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "cli/Process.h"
#include "platform/TemporaryFile.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

using testing::IsEmpty;

// The process that is interrupted runs its test from the start, and finds the folder of the one
// that started it.
class ProcessDeathTest : public testing::TestWithParam<int> {
 protected:
  ProcessDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("TOLVANE_TEST_FOLDER", folder_.path().c_str(), 0);
  }
  ~ProcessDeathTest() override { unsetenv("TOLVANE_TEST_FOLDER"); }

  // Ends with a status of its own when there is no hidden name to take away.
  void interruptDownload(int signal) const {
    std::filesystem::remove(folder_.path());  // whose destructor does not run
    prepareProcess();
    TemporaryFile::allowUnnamedFiles(false);
    const std::string folder = std::getenv("TOLVANE_TEST_FOLDER");
    TemporaryFile file;
    if (file.open(folder) || file.write("half", 4)) std::_Exit(1);
    if (std::filesystem::is_empty(folder)) std::_Exit(2);
    ::kill(::getpid(), signal);
    for (;;) ::pause();
  }

  const TemporaryFolder folder_;
};

// As on a file system that has no unnamed files.
TEST_P(ProcessDeathTest, AnInterruptTakesTheHiddenNamesAway) {
  EXPECT_EXIT(interruptDownload(GetParam()), testing::ExitedWithCode(128 + GetParam()), "");
  EXPECT_THAT(folder_.names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Signals, ProcessDeathTest, testing::Values(SIGINT, SIGTERM));

}  // namespace
}  // namespace tolvane
