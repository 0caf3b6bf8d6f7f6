// SPDX-License-Identifier: MIT
#include "http/GzipCoding.h"

#include <new>
#include <zlib.h>

#include "base/LargeString.h"
#include "http/CurlErrors.h"

namespace tolvane {

namespace {

constexpr int kGzipWrapper = 15 + 16;  // the largest window
constexpr std::size_t kPiece = std::size_t{64} << 10;

}  // namespace

struct GzipCoding::Stream {
  Stream() {
    if (inflateInit2(&zlib, kGzipWrapper) != Z_OK) throw std::bad_alloc();
  }
  ~Stream() { inflateEnd(&zlib); }

  z_stream zlib{};
  char piece[kPiece];
};

GzipCoding::GzipCoding() : stream_(std::make_unique<Stream>()) {}

GzipCoding::~GzipCoding() = default;

std::optional<Error> GzipCoding::append(std::string_view bytes, std::string& body,
                                        std::size_t maximumSize) {
  z_stream& zlib = stream_->zlib;
  // zlib only reads its input; its type does not say so.
  zlib.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  zlib.avail_in = static_cast<uInt>(bytes.size());
  bool isPieceFull = false;
  while (zlib.avail_in > 0 || isPieceFull) {
    if (!isInMember_ && inflateReset(&zlib) != Z_OK) throw std::bad_alloc();
    isInMember_ = true;
    zlib.next_out = reinterpret_cast<Bytef*>(stream_->piece);
    zlib.avail_out = kPiece;
    const int result = inflate(&zlib, Z_NO_FLUSH);
    const std::size_t count = kPiece - zlib.avail_out;
    if (count > maximumSize - body.size()) return urlError(kURLErrorDataLengthExceedsMaximum);
    appendLarge(body, {stream_->piece, count}, maximumSize);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
      return urlError(kURLErrorCannotDecodeContentData);
    }
    isInMember_ = result != Z_STREAM_END;
    isPieceFull = isInMember_ && zlib.avail_out == 0;  // more output may follow
  }
  return std::nullopt;
}

}  // namespace tolvane
