// SPDX-License-Identifier: MIT
#include "download/FailureTexts.h"

namespace tolvane {

std::string transferFailureText(const Error& error) {
  return "Download failed: " + descriptionOr(error, "Unknown error");
}

std::string moveFailureText(const Error& error) {
  return "Could not move downloaded file: " + descriptionOr(error, "Unknown error");
}

std::string validationFailureText(const Error& error) {
  return descriptionOr(error, "Downloaded file failed validation.");
}

std::string destinationFailureText(const Error& error) {
  return descriptionOr(error, "Could not create destination directory.");
}

std::string metadataFolderFailureText(const Error& error) {
  return descriptionOr(error, "Could not create metadata directory.");
}

}  // namespace tolvane
