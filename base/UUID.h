// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace tolvane {

// A random UUID of RFC 4122 in its canonical form: 36 characters, letters in upper case.
std::string makeUUID();

}  // namespace tolvane
