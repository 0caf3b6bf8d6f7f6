// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

// Decodes the content coding "gzip" of HTTP (RFC 9110, section 8.4.1.3) piece by piece. libcurl's
// own decoder reports no error when the stream is cut.
class GzipCoding {
 public:
  GzipCoding();
  ~GzipCoding();
  GzipCoding(const GzipCoding&) = delete;
  GzipCoding& operator=(const GzipCoding&) = delete;

  // Decodes the next bytes of the stream and appends the result to `body`. A stream may have
  // several members (RFC 1952). kURLErrorCannotDecodeContentData for bytes that are not gzip, also
  // after the last member, kURLErrorDataLengthExceedsMaximum when `body` would have more than
  // maximumSize bytes. Throws std::bad_alloc.
  std::optional<Error> append(std::string_view bytes, std::string& body, std::size_t maximumSize);

  // A member has begun and has not ended.
  bool isCut() const { return isInMember_; }

 private:
  struct Stream;

  std::unique_ptr<Stream> stream_;
  bool isInMember_ = false;
};

}  // namespace tolvane
