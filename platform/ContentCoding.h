// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Error.h"

namespace tolvane {

// Undoes the content coding "gzip" of HTTP (RFC 9110, section 8.4.1.3) piece by piece. libcurl
// undoes codings as well, but takes a stream that is cut for a whole one.
class GzipCoding {
 public:
  GzipCoding();
  ~GzipCoding();
  GzipCoding(const GzipCoding&) = delete;
  GzipCoding& operator=(const GzipCoding&) = delete;

  // Appends what the bytes stand for to `text`. kURLErrorCannotDecodeContentData for bytes that
  // are no gzip, kURLErrorDataLengthExceedsMaximum for more than maximumSize bytes of text. Bytes
  // behind the stream's end are passed over. Throws std::bad_alloc.
  std::optional<Error> append(std::string_view bytes, std::string& text, std::size_t maximumSize);

  // Whether a stream that has begun has not come to its end.
  bool isCut() const { return hasBegun_ && !hasEnded_; }

 private:
  struct Stream;

  std::unique_ptr<Stream> stream_;
  bool hasBegun_ = false;
  bool hasEnded_ = false;
};

}  // namespace tolvane
