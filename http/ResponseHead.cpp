// SPDX-License-Identifier: MIT
#include "http/ResponseHead.h"

#include <charconv>

#include "base/Text.h"

namespace tolvane {

void ResponseHead::begin(int statusCode) {
  statusCode_ = statusCode;
  fields_.clear();
  location_.reset();
}

void ResponseHead::append(std::string_view line) {
  if (line == "\r\n" || line == "\n") {
    isComplete_ = statusCode_ >= 200;
    return;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  fields_.emplace_back(line.substr(0, colon), trimWhitespaceAndNewlines(line.substr(colon + 1)));
  const auto& [name, value] = fields_.back();
  if (equalsIgnoringASCIICase(name, "location")) location_ = value;
}

bool ResponseHead::isRedirect() const {
  if (!isComplete_ || !location_) return false;
  return statusCode_ == 301 || statusCode_ == 302 || statusCode_ == 303 || statusCode_ == 307 ||
         statusCode_ == 308;
}

std::optional<std::uint64_t> ResponseHead::contentLength() const {
  for (const auto& [name, value] : fields_) {
    std::uint64_t length = 0;
    const char* const end = value.data() + value.size();
    const bool isLength = equalsIgnoringASCIICase(name, "content-length");
    if (isLength && std::from_chars(value.data(), end, length).ec == std::errc()) return length;
  }
  return std::nullopt;
}

// libcurl takes the last of several lengths, and the first of a list in one field.
bool ResponseHead::hasContradictingLengths() const {
  std::optional<std::string_view> first;
  bool differ = false;
  for (const auto& [name, value] : fields_) {
    if (equalsIgnoringASCIICase(name, "transfer-encoding")) return false;  // it ends the body
    if (!equalsIgnoringASCIICase(name, "content-length")) continue;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
      end = value.find(',', begin);
      const std::string_view length =
          trimWhitespaceAndNewlines(std::string_view(value).substr(begin, end - begin));
      differ = differ || first.value_or(length) != length;
      first = length;
    }
  }
  return differ;
}

ResponseHead::Coding ResponseHead::contentCoding() const {
  Coding coding = Coding::none;
  for (const auto& [name, value] : fields_) {
    if (!equalsIgnoringASCIICase(name, "content-encoding")) continue;
    const auto is = [&value = value](const char* known) {
      return equalsIgnoringASCIICase(value, known);
    };
    if (value.empty() || is("identity") || is("none")) continue;
    if (coding == Coding::none && (is("gzip") || is("x-gzip"))) {
      coding = Coding::gzip;
    } else if (isSuccess(statusCode_)) {  // the body of a failure is not used
      return Coding::unknown;
    }
  }
  return coding;
}

}  // namespace tolvane
