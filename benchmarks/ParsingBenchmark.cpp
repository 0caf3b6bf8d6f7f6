// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/GeneratedIndex.h"
#include "repository/RepoParser.h"

namespace tolvane {
namespace {

// Parses the invented index of 50 MB (GeneratedIndex.h) into 63,000 records. The parser takes
// ownership of the text, so each round makes a copy; that and the destruction of the records are
// not timed.
void parseIndex(benchmark::State& state, const std::string& index) {
  std::vector<PackageEntry> packages;
  for (auto round : state) {
    state.PauseTiming();
    packages.clear();
    std::string text = index;
    state.ResumeTiming();
    packages = RepoParser::parsePackagesText(std::move(text));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * index.size()));
  state.counters["packages"] = static_cast<double>(packages.size());
}

void ParseIndex(benchmark::State& state) {
  parseIndex(state, generatedIndex());
}

void ParseIndexWithCarriageReturns(benchmark::State& state) {
  std::string index;
  for (const char c : generatedIndex()) index += c == '\n' ? "\r\n" : std::string(1, c);
  parseIndex(state, index);
}

BENCHMARK(ParseIndex)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ParseIndexWithCarriageReturns)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace tolvane
