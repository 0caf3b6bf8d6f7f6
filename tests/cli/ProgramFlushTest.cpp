// SPDX-License-Identifier: MIT
// The order of system calls, as strace records it.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>

#include "base/Error.h"
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

// The names that unnamed files were given, each with whether the file had been flushed before.
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

TEST(ProgramFlush, AFileIsFlushedBeforeItIsNamed) {
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

// Line numbers in the trace: of the last file that was named, and of each flush of the folder.
struct FolderFlushes {
  std::size_t lastName = 0;
  std::vector<std::size_t> flushes;
};

FolderFlushes folderFlushes(const std::string& trace, const std::string& folder) {
  FolderFlushes found;
  std::size_t line = 0;
  for (const std::string& text : linesOf(trace)) {
    ++line;
    if (text.find("linkat(") != std::string::npos) found.lastName = line;
    const bool isFolder = text.find("fsync(") != std::string::npos &&
                          text.find("<" + folder + ">") != std::string::npos;
    if (isFolder) found.flushes.push_back(line);
  }
  return found;
}

TEST(ProgramFlush, TheFolderIsFlushedAfterTheLastNameAndNotForEachFile) {
  if (!canTrace()) GTEST_SKIP() << "strace is not installed, or not permitted";
  LoopbackServer server;
  std::string index;
  for (int i = 0; i < 50; ++i) {
    const std::string name = "p" + std::to_string(i);
    index += stanza(name, trueChecks());
    server.on("/debs/" + name + ".deb", respond(200, kPackageBody));
  }
  server.on("/Packages", respond(200, index));
  const TemporaryFolder folder, traces;
  const CommandResult result =
      runProgram({"download", server.url("/"), folder.path("new")},
                 {.startedBy = {"strace", "-f", "-y", "-o", traces.path("trace"), "-e",
                                "trace=fsync,linkat"}});
  EXPECT_EQ(result.status, kExitDone);
  const std::string real = std::filesystem::canonical(folder.path());
  const FolderFlushes own = folderFlushes(traces.read("trace"), real + "/new");
  ASSERT_FALSE(own.flushes.empty());
  EXPECT_GT(own.flushes.back(), own.lastName);
  EXPECT_LE(own.flushes.size(), 10U);
  EXPECT_FALSE(folderFlushes(traces.read("trace"), real).flushes.empty())
      << "the name of the new folder is part of its parent";
}

TEST(ProgramFlush, AFolderThatCannotBeFlushedIsAFailure) {
  if (!canTrace()) GTEST_SKIP() << "strace is not installed, or not permitted";
  LoopbackServer server;
  server.on("/Packages", respond(200, stanza("a", trueChecks())));
  server.on("/debs/a.deb", respond(200, kPackageBody));
  const TemporaryFolder folder, traces;
  const CommandResult result =
      runProgram({"download", server.url("/"), folder.path()},
                 {.startedBy = {"strace", "-f", "-o", traces.path("trace"), "-e", "trace=fsync",
                                "-e", "inject=fsync:error=EIO"}});
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_THAT(result.errorOutput,
              testing::HasSubstr("Could not flush the folder: " + posixError(EIO).description));
}

}  // namespace
}  // namespace tolvane
