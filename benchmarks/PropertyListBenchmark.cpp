// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>

#include "benchmarks/GeneratedPackageList.h"
#include "plist/PropertyList.h"

namespace tolvane {
namespace {

// Reads the property list of 10,000 packages (GeneratedPackageList.h), without making records of
// it.
void readPackageList(benchmark::State& state, const std::string& bytes) {
  for (auto _ : state) {
    const PropertyListResult result = readPropertyList(bytes);
    const auto* root = result.value ? result.value->dictionary() : nullptr;
    const auto* packages = root != nullptr ? root->find("packages") : nullptr;
    if (packages == nullptr || packages->list() == nullptr ||
        packages->list()->size() != kGeneratedPackages) {
      state.SkipWithError("the list was not read");
      break;
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void readXMLPackageList(benchmark::State& state) {
  readPackageList(state, generatedXMLPackageList());
}
void readBinaryPackageList(benchmark::State& state) {
  readPackageList(state, generatedBinaryPackageList());
}

BENCHMARK(readXMLPackageList)->Unit(benchmark::kMillisecond);
BENCHMARK(readBinaryPackageList)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tolvane
