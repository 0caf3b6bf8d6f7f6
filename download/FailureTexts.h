// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "base/Error.h"

// The log line of a failure: the error's description, and a sentence of ours where that is empty.
namespace tolvane {

inline std::string transferFailureText(const Error& error) {
  return "Download failed: " + descriptionOr(error, "Unknown error");
}

inline std::string moveFailureText(const Error& error) {
  return "Could not move downloaded file: " + descriptionOr(error, "Unknown error");
}

inline std::string validationFailureText(const Error& error) {
  return descriptionOr(error, "Downloaded file failed validation.");
}

// Of the folder of the packages.
inline std::string destinationFailureText(const Error& error) {
  return descriptionOr(error, "Could not create destination directory.");
}

// Of the folder of the metadata files.
inline std::string metadataFolderFailureText(const Error& error) {
  return descriptionOr(error, "Could not create metadata directory.");
}

}  // namespace tolvane
