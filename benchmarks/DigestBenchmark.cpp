// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/Digest.h"

namespace tolvane {
namespace {

// A file of one repeated byte, removed with the object.
class BenchmarkFile {
 public:
  explicit BenchmarkFile(std::size_t size)
      : path_(std::filesystem::temp_directory_path() /
              ("tolvane-benchmark-" + std::to_string(size))) {
    std::ofstream(path_, std::ios::binary) << std::string(size, 'x');
  }
  ~BenchmarkFile() { std::filesystem::remove(path_); }

  BenchmarkFile(const BenchmarkFile&) = delete;
  BenchmarkFile& operator=(const BenchmarkFile&) = delete;

  std::string path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

// The digests of one package file in the page cache: 31 KB, as a typical tweak has, and 64 MB, as a
// large package has.
void digestFile(benchmark::State& state, DigestSelection selection) {
  const auto size = static_cast<std::size_t>(state.range(0));
  const BenchmarkFile file(size);
  for (auto round : state) {
    if (!digestsOfFile(file.path(), selection)) state.SkipWithError("cannot read the file");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void DigestMD5(benchmark::State& state) {
  digestFile(state, {.md5 = true, .sha256 = false});
}
void DigestSHA256(benchmark::State& state) {
  digestFile(state, {.md5 = false, .sha256 = true});
}
void DigestBoth(benchmark::State& state) {
  digestFile(state, {.md5 = true, .sha256 = true});
}

BENCHMARK(DigestMD5)->Arg(31'000)->Arg(64'000'000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(DigestSHA256)->Arg(31'000)->Arg(64'000'000)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(DigestBoth)->Arg(31'000)->Arg(64'000'000)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace tolvane
