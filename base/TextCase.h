// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// The text in lower case, by the full case mappings of Unicode without those of single languages.
// Bytes that are not UTF-8 stay as they are.
std::string lowercased(std::string_view text);

}  // namespace tolvane
