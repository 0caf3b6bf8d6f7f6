// SPDX-License-Identifier: MIT
#include "tests/support/Payloads.h"

#include <bzlib.h>
#include <cstdint>
#include <lzma.h>
#include <stdexcept>
#include <zlib.h>

namespace tolvane {

namespace {

constexpr int kZlibWindow = 15;
constexpr int kGzipWindow = 15 + 16;
constexpr int kDeflateWindow = -15;

void require(bool packed) {
  if (!packed) throw std::runtime_error("cannot pack a payload");
}

void expectBytes(z_stream& stream, std::string_view input) {
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
  stream.avail_in = static_cast<uInt>(input.size());
}

// What one call of deflate() gives; the output always fits.
std::string deflated(z_stream& stream, std::string_view input, int flush) {
  std::string output(deflateBound(&stream, input.size()) + 64, '\0');
  expectBytes(stream, input);
  stream.next_out = reinterpret_cast<Bytef*>(output.data());
  stream.avail_out = static_cast<uInt>(output.size());
  const int result = deflate(&stream, flush);
  require(result == (flush == Z_FINISH ? Z_STREAM_END : Z_OK));
  return output.substr(0, output.size() - stream.avail_out);
}

std::string packWithWindow(std::string_view bytes, int window) {
  z_stream stream{};
  require(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, window, 8, Z_DEFAULT_STRATEGY) ==
          Z_OK);
  std::string output = deflated(stream, bytes, Z_FINISH);
  deflateEnd(&stream);
  return output;
}

std::string littleEndian(unsigned long value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
  return bytes;
}

std::string xzedWithPreset(std::string_view bytes, std::uint32_t preset) {
  std::string output(lzma_stream_buffer_bound(bytes.size()), '\0');
  std::size_t size = 0;
  require(lzma_easy_buffer_encode(preset, LZMA_CHECK_CRC64, nullptr,
                                  reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                  reinterpret_cast<uint8_t*>(output.data()), &size,
                                  output.size()) == LZMA_OK);
  output.resize(size);
  return output;
}

}  // namespace

std::string gzipped(std::string_view bytes) {
  return packWithWindow(bytes, kGzipWindow);
}
std::string zlibWrapped(std::string_view bytes) {
  return packWithWindow(bytes, kZlibWindow);
}
std::string bareDeflated(std::string_view bytes) {
  return packWithWindow(bytes, kDeflateWindow);
}

std::string bzip2ed(std::string_view bytes) {
  std::string output(bytes.size() + bytes.size() / 50 + 1000, '\0');
  auto size = static_cast<unsigned>(output.size());
  require(BZ2_bzBuffToBuffCompress(output.data(), &size, const_cast<char*>(bytes.data()),
                                   static_cast<unsigned>(bytes.size()), 9, 0, 0) == BZ_OK);
  output.resize(size);
  return output;
}

std::string xzed(std::string_view bytes) {
  return xzedWithPreset(bytes, 1);
}

std::string xzedAtItsBest(std::string_view bytes) {
  return xzedWithPreset(bytes, 9);
}

std::string xzedWithDictionary(std::string_view bytes, unsigned logarithm) {
  std::string payload = xzed(bytes);
  // The header of the first block follows that of the stream: its size in 32-bit words, flags, the
  // sizes of the block if the flags announce them, the number of the filter LZMA2, the length of
  // its properties, these, a checksum.
  constexpr std::size_t kBlock = 12;
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(payload[i]); };
  const std::size_t size = (at(kBlock) + std::size_t{1}) * 4 - 4;
  std::size_t filter = kBlock + 2;
  for (const int flag : {0x40, 0x80}) {
    if ((at(kBlock + 1) & flag) == 0) continue;
    while (at(filter) >= 0x80) ++filter;
    ++filter;
  }
  require(at(filter) == 0x21 && at(filter + 1) == 1);
  payload[filter + 2] = static_cast<char>(2 * (logarithm - 12));
  const std::uint32_t checksum =
      lzma_crc32(reinterpret_cast<const std::uint8_t*>(payload.data()) + kBlock, size, 0);
  for (std::size_t i = 0; i < 4; ++i) {
    payload[kBlock + size + i] = static_cast<char>(checksum >> (8 * i));
  }
  return payload;
}

std::string gzipOfZeros(std::size_t mebibytes) {
  const std::string zeros(std::size_t{1} << 20, '\0');
  z_stream stream{};
  require(deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kGzipWindow, 8, Z_DEFAULT_STRATEGY) ==
          Z_OK);
  std::string member = deflated(stream, "", Z_FULL_FLUSH);  // the header
  // A block after a full flush refers to nothing before it, so it can be repeated.
  const std::string block = deflated(stream, zeros, Z_FULL_FLUSH);
  deflateEnd(&stream);
  const uLong blockChecksum =
      crc32(0, reinterpret_cast<const Bytef*>(zeros.data()), static_cast<uInt>(zeros.size()));
  uLong checksum = 0;
  for (std::size_t i = 0; i < mebibytes; ++i) {
    member += block;
    checksum = crc32_combine(checksum, blockChecksum, static_cast<z_off_t>(zeros.size()));
  }
  const std::string lastBlock("\x03\x00", 2);  // an empty one
  return member + lastBlock + littleEndian(checksum) + littleEndian(mebibytes * zeros.size());
}

}  // namespace tolvane
