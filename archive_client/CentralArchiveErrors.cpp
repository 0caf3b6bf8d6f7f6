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

}  // namespace tolvane
