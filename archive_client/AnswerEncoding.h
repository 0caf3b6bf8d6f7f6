// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Internal to this folder.
namespace tolvane {

// The UTF-8 of JSON in UTF-16 or UTF-32, of either byte order, with a mark or without; no value
// where that is malformed: half a character, a surrogate without its other one, or a number that no
// character has. All other bytes are handed on as they are, unchecked.
std::optional<std::string> transcodedJSON(std::string_view bytes);

// Whether transcodedJSON() has anything to do.
bool isWideJSON(std::string_view bytes);

}  // namespace tolvane
