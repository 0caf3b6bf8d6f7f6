// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "archive_client/CentralArchiveClient.h"
#include "tests/support/InstantClient.h"

namespace tolvane {
namespace {

constexpr int kPackages = 60'000;

// The package list of a large repository: 60,000 packages whose identifiers, names, versions, sizes
// and paths differ. The request for it has 16 MB.
const std::vector<PackageEntry>& packages() {
  static const auto packages = [] {
    std::vector<PackageEntry> made;
    for (int i = 0; i < kPackages; ++i) {
      made.emplace_back(PackageEntry::Dictionary{
          {"Package", fmt::format("com.example.package{}", i)},
          {"Name", fmt::format("Package number {}", i)},
          {"Version", fmt::format("1.{}.{}-{}", i % 100, i % 7, i % 3)},
          {"Size", std::to_string(1000 + 37 * i)},
          {"Filename", fmt::format("pool/main/p/com.example.package{0}/"
                                   "com.example.package{0}_1.{1}_iphoneos-arm.deb",
                                   i, i % 100)}});
    }
    return made;
  }();
  return packages;
}

// Records the size of the body that it would send.
class MeasuringClient : public InstantClient {
 public:
  MeasuringClient(const std::string& body, std::size_t& size) : InstantClient(body), size_(size) {}

  void send(HTTPRequest request, BodyCompletion completion) override {
    size_ = request.body->size();
    InstantClient::send(std::move(request), std::move(completion));
  }

 private:
  std::size_t& size_;
};

std::size_t buildRequest() {
  static const std::string answer = R"({"ok":true})";
  std::size_t size = 0;
  const CentralArchiveClient client("https://archive.example/api", "secret", [&size](const auto&) {
    return std::make_shared<MeasuringClient>(answer, size);
  });
  client.checkRepositoryURL("https://repo.example/", "APT", packages(),
                            [](const auto&, const auto&) {});
  return size;
}

double seconds(const std::function<void()>& step) {
  const auto begin = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// For comparison: as many bytes in as many strings, copied twice into one buffer.
void copyTwice(const std::vector<std::string>& strings) {
  std::string buffer;
  for (int copy = 0; copy < 2; ++copy) {
    buffer.clear();
    for (const std::string& string : strings) buffer += string;
    benchmark::DoNotOptimize(buffer.data());
  }
}

// The time of a round is that of the request alone; the comparison is measured in the same round.
void BuildCheckRequest(benchmark::State& state) {
  const std::size_t size = buildRequest();
  const std::vector<std::string> strings(6 * kPackages, std::string(size / (6 * kPackages), 'x'));
  double building = 0;
  double copying = 0;
  for (auto round : state) {
    const double built = seconds([] { buildRequest(); });
    state.SetIterationTime(built);
    building += built;
    copying += seconds([&strings] { copyTwice(strings); });
  }
  const auto rounds = static_cast<double>(state.iterations());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
  state.counters["bytes"] = static_cast<double>(size);
  state.counters["copying_twice_ms"] = 1000 * copying / rounds;
  state.counters["times_copying_twice"] = building / copying;
}

BENCHMARK(BuildCheckRequest)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace
}  // namespace tolvane
