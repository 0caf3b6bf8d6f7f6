// SPDX-License-Identifier: MIT
// The memory of the program for a large index, and for one that decompresses to too much.
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "cli/ExitStatus.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/Payloads.h"

namespace tolvane {
namespace {

constexpr std::size_t kMiB = std::size_t{1} << 20;

// A little more than a power of two: the worst case for memory that grows by doubling.
constexpr std::size_t kLarge = 136 * kMiB;

// For the program, its libraries and buffers.
constexpr std::size_t kProgram = 40 * kMiB;

struct ProgramRun {
  int status = 0;
  std::size_t memory = 0;  // the peak, in bytes
};

// Lists a repository. A forked child starts with the memory of the test, so the test has to hold
// little.
ProgramRun list(const std::string& url) {
  const pid_t child = ::fork();
  if (child == 0) {
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int stream : {0, 1, 2}) ::dup2(nothing, stream);
    ::execl(TOLVANE_CLI, TOLVANE_CLI, "list", url.c_str(), "--type", "apt", nullptr);
    std::_Exit(127);
  }
  int status = 0;
  rusage usage{};
  EXPECT_EQ(::wait4(child, &status, 0, &usage), child);
  EXPECT_TRUE(WIFEXITED(status));
  return {WEXITSTATUS(status), static_cast<std::size_t>(usage.ru_maxrss) * 1024};
}

// A string of one repeated character, compressed. Only the result stays in memory.
std::string packed(std::string (*pack)(std::string_view), std::size_t size, char character) {
  std::string payload = pack(std::string(size, character));
  payload.shrink_to_fit();
  return payload;
}

// Sends the text in chunks, without a Content-Length.
LoopbackHandler respondInChunks(std::size_t size, char character) {
  return [=](const LoopbackRequest&, LoopbackConnection& connection) {
    const std::string chunk(kMiB, character);
    connection.write("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
    for (std::size_t sent = 0; sent < size; sent += chunk.size()) {
      if (!connection.write("100000\r\n" + chunk + "\r\n")) return;
    }
    connection.write("0\r\n\r\n");
  };
}

class ProgramIndexMemory : public testing::Test {
 protected:
  void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers need memory of their own";
#endif
  }

  // Lists a repository that has only this index; `body` and `text` are the sizes of the answer and
  // of the decoded text.
  void expectMemory(const std::string& path, const LoopbackHandler& index, std::size_t body,
                    std::size_t text) {
    LoopbackServer server;
    server.on(path, index);
    const ProgramRun run = list(server.url("/"));
    EXPECT_EQ(run.status, kExitNotLoaded) << path;
    EXPECT_LE(run.memory, body + text / 10 * 12 + kProgram) << path;
    // Otherwise the index was not read.
    EXPECT_GT(run.memory, text / 10 * 9) << path;
  }

  void expectMemory(const std::string& path, const std::string& payload, std::size_t text) {
    expectMemory(path, respond(200, payload), payload.size(), text);
  }
};

TEST_F(ProgramIndexMemory, OfACompressedIndexIsItsSizeAndTwelveTenthsOfItsText) {
  expectMemory("/Packages.gz", packed(gzipped, kLarge, 'x'), kLarge);
  expectMemory("/Packages.bz2", packed(bzip2ed, kLarge, 'x'), kLarge);
  expectMemory("/Packages.xz", packed(xzed, kLarge, 'x'), kLarge);
}

TEST_F(ProgramIndexMemory, OfAnIndexInLatin1IsThatOfItsTextAsUTF8) {
  expectMemory("/Packages.gz", packed(gzipped, kLarge / 2, '\xE9'), kLarge);
  expectMemory("/Packages", respondInChunks(kLarge / 2, '\xE9'), 0, kLarge);
}

TEST_F(ProgramIndexMemory, OfAnIndexWithoutContentLengthIsThatOfItsText) {
  expectMemory("/Packages", respondInChunks(kLarge, 'x'), 0, kLarge);
}

TEST_F(ProgramIndexMemory, OfAContentCodingIsThatOfTheDecodedText) {
  const std::string body = packed(gzipped, kLarge, 'x');
  expectMemory("/Packages", respond(200, body, {{"Content-Encoding", "gzip"}}), body.size(),
               kLarge);
}

TEST_F(ProgramIndexMemory, OfAnIndexThatDecompressesToTooMuchIsThatOf512MiB) {
  expectMemory("/Packages.gz", gzipOfZeros(600), 512 * kMiB);
}

}  // namespace
}  // namespace tolvane
