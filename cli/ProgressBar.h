// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

// A bar of text for a share that is done, such as "[#####               ]  25%"; empty for 0 of 0,
// full for more than all.
std::string progressBar(std::uint64_t completed, std::uint64_t total);

}  // namespace tolvane
