// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "http/HTTPClient.h"

namespace tolvane {

// The head of a response (RFC 9112, section 2.1), read line by line. Interim responses (1xx) that
// come before it are skipped.
class ResponseHead {
 public:
  enum class Coding { none, gzip, unknown };

  // A status line has come, with this status code. It begins another head.
  void begin(int statusCode);

  // A further line, with its line break: a header field, or the empty line that ends the head. Not
  // to be called once the head is complete.
  void append(std::string_view line);

  // The head of a response that is no interim one has ended.
  bool isComplete() const { return isComplete_; }

  int statusCode() const { return statusCode_; }

  // In the order in which they were received, without the blanks around their values.
  HeaderFields& fields() { return fields_; }

  // The last Location field.
  const std::optional<std::string>& location() const { return location_; }

  // A complete head with Location and the status 301, 302, 303, 307 or 308.
  bool isRedirect() const;

  // The status is one that can have a body.
  bool allowsBody() const { return statusCode_ != 204 && statusCode_ != 304; }

  // Of the first Content-Length that is a number.
  std::optional<std::uint64_t> contentLength() const;

  // There are several lengths, as fields or in one field, and they differ. None can be trusted then
  // (RFC 9112, section 6.3).
  bool hasContradictingLengths() const;

  // How the body is encoded (RFC 9110, section 8.4). A coding other than gzip, or a second one, is
  // `unknown` where the status is one of success, and ignored otherwise.
  Coding contentCoding() const;

 private:
  int statusCode_ = 0;
  bool isComplete_ = false;
  HeaderFields fields_;
  std::optional<std::string> location_;
};

}  // namespace tolvane
