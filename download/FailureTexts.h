// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "base/Error.h"

namespace tolvane {

// What the user is told of a failure: what the error says of itself, and a text of ours where it
// says nothing.
std::string transferFailureText(const Error& error);
std::string moveFailureText(const Error& error);
std::string validationFailureText(const Error& error);
std::string destinationFailureText(const Error& error);     // the folder of the packages
std::string metadataFolderFailureText(const Error& error);  // the folder of the metadata files

}  // namespace tolvane
