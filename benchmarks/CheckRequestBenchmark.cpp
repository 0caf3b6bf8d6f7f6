// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

#include "archive_client/CentralArchiveClient.h"
#include "tests/support/InstantSession.h"

namespace tolvane {
namespace {

constexpr int kPackages = 60'000;

// The list of a large repository of 60,000 packages: names, versions and places all differ.
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

// Keeps the size of what it is asked to send.
class MeasuringSession : public InstantSession {
 public:
  MeasuringSession(const std::string& body, std::size_t& size)
      : InstantSession(body), size_(size) {}

  void dataTask(URLRequest request, DataCompletion completion) override {
    size_ = request.body->size();
    InstantSession::dataTask(std::move(request), std::move(completion));
  }

 private:
  std::size_t& size_;
};

std::size_t buildRequest() {
  static const std::string answer = R"({"ok":true})";
  std::size_t size = 0;
  const CentralArchiveClient client("https://archive.example/api", "secret", [&size](const auto&) {
    return std::make_shared<MeasuringSession>(answer, size);
  });
  client.checkRepositoryURL("https://repo.example/", "APT", packages(),
                            [](const auto&, const auto&) {});
  return size;
}

void BuildCheckRequest(benchmark::State& state) {
  std::size_t size = 0;
  for (auto round : state) size = buildRequest();
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
  state.counters["bytes"] = static_cast<double>(size);
}

// The yardstick: as many bytes in as many texts, copied twice into one buffer.
void CopyTheTextsTwice(benchmark::State& state) {
  const std::size_t size = buildRequest();
  const std::vector<std::string> texts(6 * kPackages, std::string(size / (6 * kPackages), 'x'));
  for (auto round : state) {
    std::string buffer;
    for (int copy = 0; copy < 2; ++copy) {
      buffer.clear();
      for (const std::string& text : texts) buffer += text;
      benchmark::DoNotOptimize(buffer.data());
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

BENCHMARK(BuildCheckRequest)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyTheTextsTwice)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tolvane
