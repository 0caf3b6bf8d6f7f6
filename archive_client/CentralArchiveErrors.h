// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>

#include "archive_client/CentralArchiveClient.h"
#include "base/Error.h"

namespace tolvane {

// Internal to this folder.
inline Error archiveError(int code, std::string description) {
  return {std::string(kCentralArchiveErrorDomain), code, std::move(description)};
}

}  // namespace tolvane
