// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tolvane {

// The text as it may be sent to a terminal: a tab becomes a blank; every other control character,
// and every byte that is not UTF-8, becomes U+FFFD. A stranger's text can then neither move the
// cursor nor start a line.
std::string printable(std::string_view text);
void appendPrintable(std::string& line, std::string_view text);

// Cells that a text takes on a terminal once it is printable: two for a wide East Asian character,
// none for a combining one.
std::size_t displayWidth(std::string_view text);

}  // namespace tolvane
