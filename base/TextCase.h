// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// The text in lower case, by the full mappings of the Unicode standard and of no language in
// particular. Bytes that are not UTF-8 stay as they are.
std::string lowercased(std::string_view text);

}  // namespace tolvane
