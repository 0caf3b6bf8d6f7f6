// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// What the property list at `path` says under a key of its root dictionary, in its text form; ""
// where it says nothing. A list that is there and cannot be read is told in the system log.
std::string textInPropertyListFile(const std::string& path, std::string_view key);

// Tells in the system log when others than the owner can read the file at `path`, which may hold a
// secret.
void tellIfOthersCanRead(const std::string& path);

}  // namespace tolvane
