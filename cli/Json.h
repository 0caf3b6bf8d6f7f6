// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "model/PackageEntry.h"

namespace tolvane {

// The record as an object: its field names in the order in which they are declared, texts as
// strings and the two flags as booleans.
nlohmann::ordered_json jsonObject(const PackageEntry& package);

// JSON of RFC 8259 in UTF-8, on one line. The characters of isTerminalControl() are escaped, those
// too that JSON would let stand; bytes that are not UTF-8 become U+FFFD.
std::string jsonText(const nlohmann::ordered_json& value);

}  // namespace tolvane
