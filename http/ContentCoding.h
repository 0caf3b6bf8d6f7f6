// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

// Undoes the content coding "gzip" of HTTP (RFC 9110, section 8.4.1.3) piece by piece. libcurl
// undoes codings as well, but takes a stream that is cut for a whole one.
class GzipCoding {
 public:
  GzipCoding();
  ~GzipCoding();
  GzipCoding(const GzipCoding&) = delete;
  GzipCoding& operator=(const GzipCoding&) = delete;

  // Appends what the bytes stand for to `text`: of all members, where there are several (RFC 1952).
  // kURLErrorCannotDecodeContentData for bytes that are no gzip, also behind the last member,
  // kURLErrorDataLengthExceedsMaximum for more than maximumSize bytes of text. Throws
  // std::bad_alloc.
  std::optional<Error> append(std::string_view bytes, std::string& text, std::size_t maximumSize);

  // Whether a member that has begun has not come to its end.
  bool isCut() const { return isInside_; }

 private:
  struct Stream;

  std::unique_ptr<Stream> stream_;
  bool isInside_ = false;  // a member
};

}  // namespace tolvane
