// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// Texts are UTF-8 in std::string and std::string_view, and may hold NUL.

// Character sets. Blanks are the general category Zs and the tab; white space adds U+000A to
// U+000D, U+0085 and the general categories Zl and Zp. Both trims never cut a character in two.
std::string_view trimBlanks(std::string_view text);
std::string_view trimWhitespaceAndNewlines(std::string_view text);

// Well-formed UTF-8 as of RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view bytes);

// Whether all of it is of the characters from U+0020 to U+007E: nearly every text there is.
bool isPrintableASCII(std::string_view text);

// The text that ISO 8859-1 bytes stand for; no value where it is longer than maximumSize, as UTF-8.
// The bytes are converted where they stand, so a moved string is not in memory twice. Throws
// std::bad_alloc.
std::optional<std::string> textFromLatin1(
    std::string bytes, std::size_t maximumSize = std::numeric_limits<std::size_t>::max());

// Length in UTF-16 code units of well-formed UTF-8.
std::size_t utf16Length(std::string_view text);

// The longest beginning of well-formed UTF-8 that is at most so many UTF-16 code units long.
std::string_view utf16Prefix(std::string_view text, std::size_t units);

// Leading blanks, an optional sign, digits, up to the first other character, clamped to 64 bits;
// 0 where there is no digit ("1 2" is 1, "x" is 0).
std::int64_t integerValue(std::string_view text);

// True when the text, after leading blanks, begins with "Y", "y", "T", "t" or a digit 1 to 9.
bool booleanValue(std::string_view text);

// ASCII letters compare without their case; all other bytes must be equal.
bool equalsIgnoringASCIICase(std::string_view left, std::string_view right);

// The text after the last "/", trailing "/" ignored; "" for a text of nothing but "/".
// Nothing is decoded, so a query stays part of it.
std::string_view lastPathComponent(std::string_view path);

// `folder` and `name` joined with exactly one "/" between them; `name` alone for an empty folder.
std::string joinPath(std::string_view folder, std::string_view name);

}  // namespace tolvane
