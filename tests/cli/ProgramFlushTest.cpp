// SPDX-License-Identifier: MIT
// In which order the program asks the system for things, as strace sees it.
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"

namespace tolvane {
namespace {

bool canTrace() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return false;  // the sanitizers do not run in a process that is traced
#else
  return std::system("strace -o /dev/null true 2>/dev/null") == 0;
#endif
}

// The names that were given to unnamed files, each with whether the file's bytes had been flushed.
std::map<std::string, bool> namedFiles(const std::string& trace) {
  static const std::regex kFlushBegins(R"((\d+) +fdatasync\((\d+).*)");
  static const std::regex kFlushResumes(R"((\d+) +<\.\.\. fdatasync resumed>.*= 0)");
  static const std::regex kLink(R"re(.*linkat\(AT_FDCWD, "/proc/self/fd/(\d+)".*/([^/"]*)".*)re");
  std::map<std::string, bool> files;
  std::map<std::string, std::string> flushing;  // the descriptor, by the thread
  std::set<std::string> flushed;                // descriptors
  for (const std::string& line : linesOf(trace)) {
    std::smatch match;
    if (std::regex_match(line, match, kFlushBegins)) {
      if (line.ends_with("= 0")) flushed.insert(match[2]);
      flushing[match[1]] = match[2];
    } else if (std::regex_match(line, match, kFlushResumes)) {
      flushed.insert(flushing[match[1]]);
    } else if (std::regex_match(line, match, kLink)) {
      files[match[2]] = flushed.erase(match[1]) > 0;
    }
  }
  return files;
}

TEST(ProgramFlush, AFilesBytesAreOnTheDiskBeforeItHasItsName) {
  if (!canTrace()) GTEST_SKIP() << "strace is not installed, or not permitted";
  LoopbackServer server;
  std::string index;
  for (const std::string name : {"a", "b", "c", "d", "e"}) {
    index += stanza(name, trueChecks());
    server.on("/debs/" + name + ".deb", respond(200, kPackageBody));
  }
  server.on("/Packages", respond(200, index));
  const TemporaryFolder folder, traces;
  const CommandResult result = runProgram(
      {"download", server.url("/"), folder.path()},
      {.startedBy = {"strace", "-f", "-o", traces.path("trace"), "-e", "trace=fdatasync,linkat"}});
  EXPECT_EQ(result.status, kExitDone);
  const std::map<std::string, bool> files = namedFiles(traces.read("trace"));
  if (files.empty()) GTEST_SKIP() << "the file system has no unnamed files";
  EXPECT_EQ(files.size(), 5U);
  for (const auto& [name, isFlushed] : files) EXPECT_TRUE(isFlushed) << name;
}

}  // namespace
}  // namespace tolvane
