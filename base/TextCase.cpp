// SPDX-License-Identifier: MIT
#include "base/TextCase.h"

#include <cstdint>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>

namespace tolvane {

std::string lowercased(std::string_view text) {
  std::string result;
  icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(text.size()));
  UErrorCode status = U_ZERO_ERROR;
  icu::CaseMap::utf8ToLower("", 0,
                            icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())),
                            sink, nullptr, status);
  return result;
}

}  // namespace tolvane
