// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "model/PackageEntry.h"

namespace tolvane {

// The record as an object: the names of its fields in the order in which they are declared, with
// the two flags as booleans and all others as strings.
nlohmann::ordered_json jsonObject(const PackageEntry& package);

// JSON of RFC 8259 in UTF-8, on one line. The characters of isTerminalControl() are escaped, also
// those that JSON does not require to be; bytes that are not UTF-8 become U+FFFD.
std::string jsonText(const nlohmann::ordered_json& value);

}  // namespace tolvane
