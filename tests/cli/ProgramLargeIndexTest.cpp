// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "benchmarks/GeneratedIndex.h"
#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

constexpr int kPackages = 30'000;

std::string lastPackage(const std::string& index) {
  const std::string key = "\nPackage: ";
  const std::size_t begin = index.rfind(key) + key.size();
  return index.substr(begin, index.find('\n', begin) - begin);
}

TEST(ProgramLargeIndex, ListsEveryPackageOfAnIndexWithTheShapeOfADistributions) {
  const std::string index = generatedIndex(kPackages);
  LoopbackServer server;
  server.on("/Packages", respond(200, index));
  const CommandResult result = runProgram({"list", server.url("/"), "--json", "--quiet"});
  EXPECT_EQ(result.status, kExitDone);

  // Each record is a line of its own, between those of the brackets.
  const std::vector<std::string> lines = linesOf(result.output);
  ASSERT_EQ(lines.size(), kPackages + 2U);
  EXPECT_EQ(lines.front() + lines.back(), "[]");
  EXPECT_EQ(nlohmann::json::parse(lines[lines.size() - 2])["packageName"], lastPackage(index));
}

}  // namespace
}  // namespace tolvane
