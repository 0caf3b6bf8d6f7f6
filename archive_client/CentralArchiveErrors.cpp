// SPDX-License-Identifier: MIT
#include "archive_client/CentralArchiveErrors.h"

#include <utility>

#include "archive_client/ArchiveAnswer.h"
#include "archive_client/CentralArchiveClient.h"

namespace tolvane {

Error archiveError(int code, std::string description) {
  return {std::string(kCentralArchiveErrorDomain), code, std::move(description)};
}

Error encodingError(std::string description) {
  return {std::string(kJSONErrorDomain), kJSONWriteError, std::move(description)};
}

bool canBeSent(std::string_view credential) {
  return credential.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string_view originalURLOf(const PackageEntry& package) {
  return package.downloadURL().empty() ? package.filename() : package.downloadURL();
}

}  // namespace tolvane
