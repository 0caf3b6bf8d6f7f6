// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"

namespace tolvane {

// Domain and codes of the errors of reading and writing JSON.
inline constexpr std::string_view kJSONErrorDomain = "NSCocoaErrorDomain";
inline constexpr int kJSONReadError = 3840;
inline constexpr int kJSONWriteError = 3852;

// The body of an answer of the archive, which should be one JSON object (RFC 8259) in UTF-8,
// UTF-16 or UTF-32, and be well-formed there. Lists of any kind are valid JSON too; bare strings,
// numbers, booleans and null are not, nor is what is nested deeper than 256 levels or has more than
// 10,000,000 values.
class ArchiveAnswer {
 public:
  explicit ArchiveAnswer(std::string_view body);

  bool isDictionary() const { return json_.is_object(); }

  // Absent for valid JSON, of whatever kind.
  const std::optional<Error>& parseError() const { return parseError_; }

  // Those that follow are for dictionaries. The value of a member; null where there is none.
  nlohmann::json* find(std::string_view key);

  // The member "ok": true, a number other than 0, or a string for which booleanValue() is true.
  bool isOK();

  // The member "error": a string, or a number or boolean in its text form. `otherwise` where there
  // is nothing of the kind.
  std::string errorText(std::string_view otherwise);

 private:
  nlohmann::json json_;
  std::optional<Error> parseError_;
};

// How the system log shows a body that could not be read: its first `longest` UTF-16 code units,
// and "..." where it is longer, or "<non-utf8 response>".
std::string previewOf(std::string_view body, std::size_t longest);

}  // namespace tolvane
