// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "base/Error.h"

// Internal to this folder.
namespace tolvane {

// Of kCentralArchiveErrorDomain.
Error archiveError(int code, std::string description);

// A string for JSON was not UTF-8; `description` says of what.
Error encodingError(std::string description);

}  // namespace tolvane
