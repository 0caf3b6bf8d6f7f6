// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Internal to this folder.
namespace tolvane {

// The UTF-8 of JSON in UTF-16 or UTF-32, of either byte order, with or without a byte-order mark.
// No value where that is malformed: an incomplete code unit, an unpaired surrogate or a value above
// U+10FFFF. Bytes in any other encoding are returned unchanged and unchecked.
std::optional<std::string> transcodedJSON(std::string_view bytes);

// Whether the bytes are in UTF-16 or UTF-32.
bool isWideJSON(std::string_view bytes);

}  // namespace tolvane
