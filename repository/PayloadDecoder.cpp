// SPDX-License-Identifier: MIT
#include "repository/PayloadDecoder.h"

#include <algorithm>
#include <bzlib.h>
#include <cstdint>
#include <limits>
#include <lzma.h>
#include <memory>
#include <new>
#include <zlib.h>

#include "base/LargeString.h"

namespace tolvane {

namespace {

// zlib and libbz2 count in 32 bits, so they are given long input piece by piece.
constexpr std::size_t kPiece = std::size_t{1} << 20;

constexpr std::size_t kOutputPiece = std::size_t{256} << 10;

// The first capacity of the output, as a multiple of the input; an index needs about five.
constexpr std::size_t kInitialFactor = 8;

// An output and a dictionary of hundreds of megabytes each would double the memory.
constexpr std::size_t kLargestWorkingMemory = kMaximumIndexSize / 5;

// What differs between the libraries. Their streams have the same members by the same names.

struct Gzip {
  using Stream = z_stream;
  static constexpr std::size_t kLargestPiece = kPiece;
  static constexpr int kOK = Z_OK;
  static constexpr int kEnd = Z_STREAM_END;
  static constexpr int kNoMemory = Z_MEM_ERROR;

  static constexpr int kGzipWrapperOnly = 15 + 16;  // the largest window, and no other wrapper

  static int open(Stream& stream) { return inflateInit2(&stream, kGzipWrapperOnly); }
  static int decode(Stream& stream) { return inflate(&stream, Z_SYNC_FLUSH); }
  static void close(Stream& stream) { inflateEnd(&stream); }
  static std::size_t workingMemory(const Stream&) { return 0; }  // kilobytes
};

struct Bzip2 {
  using Stream = bz_stream;
  static constexpr std::size_t kLargestPiece = kPiece;
  static constexpr int kOK = BZ_OK;
  static constexpr int kEnd = BZ_STREAM_END;
  static constexpr int kNoMemory = BZ_MEM_ERROR;

  static constexpr int kQuiet = 0;
  static constexpr int kFast = 0;  // at the price of memory

  static int open(Stream& stream) { return BZ2_bzDecompressInit(&stream, kQuiet, kFast); }
  static int decode(Stream& stream) { return BZ2_bzDecompress(&stream); }
  static void close(Stream& stream) { BZ2_bzDecompressEnd(&stream); }
  static std::size_t workingMemory(const Stream&) { return 0; }  // 4 MB at most
};

struct XZ {
  using Stream = lzma_stream;
  // LZMA_FINISH asks for the whole input in the first step.
  static constexpr std::size_t kLargestPiece = std::numeric_limits<std::size_t>::max();
  static constexpr int kOK = LZMA_OK;
  static constexpr int kEnd = LZMA_STREAM_END;
  static constexpr int kNoMemory = LZMA_MEM_ERROR;

  static constexpr std::uint64_t kNoMemoryLimit = UINT64_MAX;
  static constexpr std::uint32_t kOneStream = 0;

  static int open(Stream& stream) {
    return lzma_stream_decoder(&stream, kNoMemoryLimit, kOneStream);
  }
  static int decode(Stream& stream) { return lzma_code(&stream, LZMA_FINISH); }
  static void close(Stream& stream) { lzma_end(&stream); }
  static std::size_t workingMemory(const Stream& stream) { return lzma_memusage(&stream); }
};

struct Step {
  int result;
  std::size_t consumed;
  std::size_t produced;
};

// Owns one library's stream.
template <typename Library>
class Decoder {
 public:
  ~Decoder() { Library::close(stream_); }

  Decoder() = default;
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  int open() { return Library::open(stream_); }

  std::size_t workingMemory() const { return Library::workingMemory(stream_); }

  Step step(std::string_view input, char* output, std::size_t space) {
    const std::size_t inputSize = std::min(input.size(), Library::kLargestPiece);
    // The libraries only read the input; not all of them say so in their types.
    stream_.next_in = reinterpret_cast<decltype(stream_.next_in)>(const_cast<char*>(input.data()));
    stream_.avail_in = static_cast<decltype(stream_.avail_in)>(inputSize);
    stream_.next_out = reinterpret_cast<decltype(stream_.next_out)>(output);
    stream_.avail_out = static_cast<decltype(stream_.avail_out)>(space);
    const int result = Library::decode(stream_);
    return {result, inputSize - stream_.avail_in, space - stream_.avail_out};
  }

 private:
  typename Library::Stream stream_{};
};

// Room for an output of the usual length; without it, the string grows step by step.
void reserveForText(std::string& text, std::size_t capacity) {
  try {
    reserveLarge(text, capacity);
  } catch (const std::bad_alloc&) {
  }
}

// Whether the library reports progress or the end; throws where it has no memory.
template <typename Library>
bool isGood(int result) {
  if (result == Library::kNoMemory) throw std::bad_alloc();
  return result == Library::kOK || result == Library::kEnd;
}

template <typename Library>
std::optional<std::string> unpack(std::string_view bytes, std::size_t maximumSize) {
  if (bytes.empty()) return std::nullopt;
  Decoder<Library> decoder;
  if (!isGood<Library>(decoder.open())) return std::nullopt;
  // A buffer that stays in the processor's cache, so that the large memory is written to once.
  const auto piece = std::make_unique_for_overwrite<char[]>(kOutputPiece);
  std::string text;
  reserveForText(text, std::min(bytes.size() * kInitialFactor, maximumSize));
  std::string_view input = bytes;
  while (true) {
    const Step step = decoder.step(input, piece.get(), kOutputPiece);
    input.remove_prefix(step.consumed);
    if (!isGood<Library>(step.result)) return std::nullopt;
    if (step.produced > maximumSize - text.size()) return std::nullopt;
    appendLarge(text, {piece.get(), step.produced}, maximumSize);
    if (std::min(text.size(), decoder.workingMemory()) > kLargestWorkingMemory) return std::nullopt;
    if (step.result == Library::kEnd) return text;
    // libbz2 keeps returning BZ_OK at the end of cut input.
    const bool stuck = step.consumed == 0 && step.produced == 0;
    if (stuck) return std::nullopt;
  }
}

}  // namespace

std::optional<std::string> unpackGzip(std::string_view bytes, std::size_t maximumSize) {
  return unpack<Gzip>(bytes, maximumSize);
}

std::optional<std::string> unpackBzip2(std::string_view bytes, std::size_t maximumSize) {
  return unpack<Bzip2>(bytes, maximumSize);
}

std::optional<std::string> unpackXZ(std::string_view bytes, std::size_t maximumSize) {
  return unpack<XZ>(bytes, maximumSize);
}

}  // namespace tolvane
