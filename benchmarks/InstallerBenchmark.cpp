// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "benchmarks/GeneratedPackageList.h"
#include "repository/Installer3RepositoryFetcher.h"
#include "tests/support/InstantClient.h"

namespace tolvane {
namespace {

// Reads a whole repository of 10,000 packages (GeneratedPackageList.h) from bytes into records. The
// destruction of the records is not timed.
void fetchRepository(benchmark::State& state, const std::string& list) {
  const Installer3RepositoryFetcher fetcher(
      [&list](const HTTPOptions&) { return std::make_shared<InstantClient>(list); });
  std::vector<PackageEntry> packages;
  for (auto round : state) {
    state.PauseTiming();
    packages.clear();
    state.ResumeTiming();
    fetcher.fetchPackagesFromRepositoryURL(
        URL::parse("http://repo.example/"),
        [&packages](std::optional<std::vector<PackageEntry>> read, const std::optional<Error>&) {
          if (read) packages = std::move(*read);
        });
    if (packages.size() != kGeneratedPackages) {
      state.SkipWithError("the repository was not read");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * list.size()));
}

void FetchXMLRepository(benchmark::State& state) {
  fetchRepository(state, generatedXMLPackageList());
}

void FetchBinaryRepository(benchmark::State& state) {
  fetchRepository(state, generatedBinaryPackageList());
}

// For comparison: another reader of the same bytes, which keeps nothing of them.
void RunXmllint(benchmark::State& state) {
  const auto file = std::filesystem::temp_directory_path() / "tolvane-benchmark.plist";
  std::ofstream(file) << generatedXMLPackageList();
  const std::string command = "xmllint --noout --stream --nonet '" + file.string() + "'";
  for (auto round : state) {
    if (std::system(command.c_str()) == 0) continue;
    state.SkipWithError("xmllint is not installed, or did not read the list");
    break;
  }
  std::filesystem::remove(file);
}

BENCHMARK(RunXmllint)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(FetchXMLRepository)->Unit(benchmark::kMillisecond);
BENCHMARK(FetchBinaryRepository)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tolvane
