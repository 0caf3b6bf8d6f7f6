// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

// A progress bar such as "[#####               ]  25%"; empty for 0 of 0, full if `completed`
// exceeds `total`.
std::string progressBar(std::uint64_t completed, std::uint64_t total);

}  // namespace tolvane
