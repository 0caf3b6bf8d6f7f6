// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "tests/plist/PropertyListDump.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {
namespace {

bool runs(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

struct Sample {
  std::string name;
  std::string dump;
};

// Files that the plistlib of Python writes, an independent implementation of both formats.
class DifferentialPropertyList : public testing::Test {
 protected:
  void write(int count, int seed) {
    if (!runs("python3 -c 'import plistlib'")) {
      GTEST_SKIP() << "python3 is not there to write property lists";
    }
    const char* source = std::getenv("TOLVANE_SOURCE_DIR");
    const std::string script =
        std::string(source ? source : ".") + "/tests/plist/write_property_lists.py";
    ASSERT_TRUE(runs("python3 '" + script + "' '" + folder_.path() + "' " + std::to_string(count) +
                     " " + std::to_string(seed)));
    std::istringstream lines(folder_.read("expected"));
    for (std::string line; std::getline(lines, line);) {
      const std::size_t tab = line.find('\t');
      samples_.push_back({line.substr(0, tab), line.substr(tab + 1)});
    }
    ASSERT_EQ(samples_.size(), 2 * static_cast<std::size_t>(count));
  }

  TemporaryFolder folder_;
  std::vector<Sample> samples_;
};

TEST_F(DifferentialPropertyList, WhatPythonWritesIsReadBackEqual) {
  write(3000, 1);
  if (IsSkipped() || HasFatalFailure()) return;
  for (const auto& [name, expected] : samples_) {
    ASSERT_EQ(dumpOf(folder_.read(name)), expected) << name;
  }
}

TEST_F(DifferentialPropertyList, WhatAnotherToolConvertsIsReadBackEqual) {
  if (!runs("command -v plistutil"))
    GTEST_SKIP() << "plistutil is not there to convert property lists";
  write(100, 2);
  if (IsSkipped() || HasFatalFailure()) return;
  for (const auto& [name, expected] : samples_) {
    ASSERT_TRUE(
        runs("plistutil -i '" + folder_.path(name) + "' -o '" + folder_.path("converted") + "'"));
    ASSERT_EQ(dumpOf(folder_.read("converted")), expected) << name;
  }
}

}  // namespace
}  // namespace tolvane
