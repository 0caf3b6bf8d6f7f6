// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "base/Error.h"

namespace tolvane {

// The log line of a failure: the error's description, and a sentence of ours where that is empty.
std::string transferFailureText(const Error& error);
std::string moveFailureText(const Error& error);
std::string validationFailureText(const Error& error);
std::string destinationFailureText(const Error& error);     // the folder of the packages
std::string metadataFolderFailureText(const Error& error);  // the folder of the metadata files

}  // namespace tolvane
