// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

// A number of bytes as a file browser shows it: "Zero KB", "1 byte", "999 bytes", then KB, MB,
// GB and TB in steps of 1000 with at most one decimal, rounded half up before the unit is chosen:
// "1.5 MB", "1 MB".
std::string formattedByteCount(std::int64_t count);

}  // namespace tolvane
