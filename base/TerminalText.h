// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tolvane {

// Whether a character of Unicode must not reach a terminal as it is: it would control it, end the
// line or reorder it. These are C0, DEL and C1 (general category Cc), U+2028, U+2029 and the
// bidirectional controls U+202A to U+202E and U+2066 to U+2069.
bool isTerminalControl(std::int32_t character);

// The text in the form that may be written to a terminal: a tab becomes a blank, and every other
// character of isTerminalControl() and every byte that is not UTF-8 becomes U+FFFD. Untrusted input
// can then neither move the cursor nor begin a line nor reverse one.
std::string printable(std::string_view text);
void appendPrintable(std::string& line, std::string_view text);

// Width in cells of printable(text) on a terminal: two for a wide East Asian character, one for
// most, none for a combining one.
std::size_t displayWidth(std::string_view text);

}  // namespace tolvane
