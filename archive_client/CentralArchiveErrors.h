// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "base/Error.h"
#include "model/PackageEntry.h"

// What the client's three requests have in common. Internal to this folder.
namespace tolvane {

Error archiveError(int code, std::string description);

// A text for JSON was not UTF-8; `description` says of what.
Error encodingError(std::string description);

// Whether a header field can carry the secret or token: one ends at a line break, and libcurl's
// texts at a NUL.
bool canBeSent(std::string_view credential);

// The address that a record gives: where the package can be downloaded, or its place below the
// repository.
std::string_view originalURLOf(const PackageEntry& package);

}  // namespace tolvane
