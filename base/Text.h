// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

namespace tolvane {

// Strings are UTF-8 and may contain NUL.

// Remove characters at both ends, and never a part of one. Blanks are the general category Zs and
// the tab; white space adds U+000A to U+000D, U+0085 and the general categories Zl and Zp.
std::string_view trimBlanks(std::string_view text);
std::string_view trimWhitespaceAndNewlines(std::string_view text);

// Leading blanks, an optional sign, digits, up to the first other character, clamped to 64 bits;
// 0 where there is no digit ("1 2" is 1, "x" is 0).
std::int64_t integerValue(std::string_view text);

// True when the text, after leading blanks, begins with "Y", "y", "T", "t" or a digit 1 to 9.
bool booleanValue(std::string_view text);

// ASCII letters compare without their case; all other bytes must be equal.
bool equalsIgnoringASCIICase(std::string_view left, std::string_view right);

}  // namespace tolvane
