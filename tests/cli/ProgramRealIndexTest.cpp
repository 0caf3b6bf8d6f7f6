// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdio.h>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

std::string outputOf(const std::string& command) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(command.c_str(), "r"), ::pclose);
  std::string text;
  std::vector<char> buffer(1 << 16);
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
    text.append(buffer.data(), count);
  }
  return text;
}

// The first package index that this machine's own package manager keeps, "" where it keeps none.
std::string ownIndex() {
  const std::string files =
      outputOf("apt-get indextargets --format '$(FILENAME)' 'Created-By: Packages' 2>/dev/null");
  const std::string file = files.substr(0, files.find('\n'));
  return file.empty() ? "" : outputOf("/usr/lib/apt/apt-helper cat-file '" + file + "'");
}

std::size_t stanzasWithAPackage(const std::string& index) {
  std::size_t count = index.starts_with("Package:") ? 1 : 0;
  for (auto at = index.find("\nPackage:"); at != std::string::npos;
       at = index.find("\nPackage:", at + 1)) {
    ++count;
  }
  return count;
}

std::string lastPackage(const std::string& index) {
  const std::string key = "\nPackage: ";
  const std::size_t begin = index.rfind(key) + key.size();
  return index.substr(begin, index.find('\n', begin) - begin);
}

TEST(ProgramRealIndex, ListsEveryPackageOfThisMachinesOwnIndex) {
  const std::string index = ownIndex();
  if (index.empty()) GTEST_SKIP() << "this machine keeps no package index of its own";
  LoopbackServer server;
  server.on("/Packages", respond(200, index));
  const CommandResult result = runProgram({"list", server.url("/"), "--json", "--quiet"});
  EXPECT_EQ(result.status, kExitDone);

  // Each record stands on a line of its own, between those of the brackets.
  const std::vector<std::string> lines = linesOf(result.output);
  ASSERT_GT(lines.size(), 2U);
  EXPECT_EQ(lines.size() - 2, stanzasWithAPackage(index));
  EXPECT_EQ(lines.front() + lines.back(), "[]");
  EXPECT_EQ(nlohmann::json::parse(lines[lines.size() - 2])["packageName"], lastPackage(index));
}

}  // namespace
}  // namespace tolvane
