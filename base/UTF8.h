// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// Well-formed UTF-8 as of RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF.
bool isValidUTF8(std::string_view bytes);

// Whether all characters are from U+0020 to U+007E, as in nearly all strings.
bool isPrintableASCII(std::string_view text);

// Converts ISO 8859-1 to UTF-8; no value if that is longer than maximumSize. Converts in place, so
// that a moved string is not in memory twice. Throws std::bad_alloc.
std::optional<std::string> textFromLatin1(
    std::string bytes, std::size_t maximumSize = std::numeric_limits<std::size_t>::max());

// Length in UTF-16 code units of well-formed UTF-8.
std::size_t utf16Length(std::string_view text);

// The longest prefix of well-formed UTF-8 that is at most so many UTF-16 code units long.
std::string_view utf16Prefix(std::string_view text, std::size_t units);

// The bytes of the first or last character, of a string that is not empty.
std::string_view firstCharacter(std::string_view text);
std::string_view lastCharacter(std::string_view text);

}  // namespace tolvane
