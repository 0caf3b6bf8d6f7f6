// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <bzlib.h>
#include <cstdint>
#include <lzma.h>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <zlib.h>

#include "benchmarks/GeneratedIndex.h"
#include "repository/RepositoryFetcher.h"

namespace tolvane {
namespace {

// An empty payload if packing failed; the benchmark then reports an error.

std::string packGzip(const std::string& text) {
  z_stream stream{};
  constexpr int kGzipWrapper = 15 + 16;
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWrapper, 8, Z_DEFAULT_STRATEGY);
  std::string payload(deflateBound(&stream, text.size()), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(payload.data());
  stream.avail_out = static_cast<uInt>(payload.size());
  const bool packed = deflate(&stream, Z_FINISH) == Z_STREAM_END;
  payload.resize(packed ? stream.total_out : 0);
  deflateEnd(&stream);
  return payload;
}

std::string packBzip2(const std::string& text) {
  auto size = static_cast<unsigned>(text.size() + text.size() / 100 + 600);
  std::string payload(size, '\0');
  const int result = BZ2_bzBuffToBuffCompress(payload.data(), &size, const_cast<char*>(text.data()),
                                              static_cast<unsigned>(text.size()), 9, 0, 0);
  payload.resize(result == BZ_OK ? size : 0);
  return payload;
}

std::string packXZ(const std::string& text) {
  constexpr std::uint32_t kQuickPreset = 1;  // packing is not what is measured
  std::string payload(lzma_stream_buffer_bound(text.size()), '\0');
  std::size_t size = 0;
  const lzma_ret result = lzma_easy_buffer_encode(
      kQuickPreset, LZMA_CHECK_CRC64, nullptr, reinterpret_cast<const std::uint8_t*>(text.data()),
      text.size(), reinterpret_cast<std::uint8_t*>(payload.data()), &size, payload.size());
  payload.resize(result == LZMA_OK ? size : 0);
  return payload;
}

// Decompresses the invented index of 50 MB (GeneratedIndex.h) and checks that it is UTF-8. The rate
// counts decompressed bytes.
void unpackIndex(benchmark::State& state, const std::string& payload,
                 std::optional<std::string> (*unpack)(std::string_view)) {
  if (unpack(payload) != generatedIndex()) {
    state.SkipWithError("the text differs from what was packed");
    return;
  }
  for (auto round : state) benchmark::DoNotOptimize(unpack(payload));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * generatedIndex().size()));
  state.counters["packed"] = static_cast<double>(payload.size());
}

void UnpackGzip(benchmark::State& state) {
  static const std::string payload = packGzip(generatedIndex());
  unpackIndex(state, payload, RepositoryFetcher::stringFromGzipData);
}

void UnpackBzip2(benchmark::State& state) {
  static const std::string payload = packBzip2(generatedIndex());
  unpackIndex(state, payload, RepositoryFetcher::stringFromBzip2Data);
}

void UnpackXZ(benchmark::State& state) {
  static const std::string payload = packXZ(generatedIndex());
  unpackIndex(state, payload, RepositoryFetcher::stringFromXZData);
}

// The index of 50 MB without compression: UTF-8 is checked and passed on, ISO 8859-1 is converted.
// Of the latter only the last byte shows that it is not UTF-8.
void decodeText(benchmark::State& state, const std::string& bytes) {
  for (auto round : state) {
    state.PauseTiming();
    std::string copy = bytes;
    state.ResumeTiming();
    benchmark::DoNotOptimize(RepositoryFetcher::stringFromTextData(std::move(copy)));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void DecodeUTF8(benchmark::State& state) {
  decodeText(state, generatedIndex());
}
void DecodeLatin1(benchmark::State& state) {
  decodeText(state, generatedIndex() + "\xE9");
}

BENCHMARK(UnpackGzip)->Unit(benchmark::kMillisecond);
BENCHMARK(UnpackBzip2)->Unit(benchmark::kMillisecond);
BENCHMARK(UnpackXZ)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeUTF8)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeLatin1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tolvane
