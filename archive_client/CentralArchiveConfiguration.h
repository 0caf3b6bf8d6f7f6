// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "base/Configuration.h"

namespace tolvane {

// The base URL of the archive's interface: a constant of the build (TOLVANE_CENTRAL_ARCHIVE_URL),
// https, without a trailing slash.
std::string_view centralArchiveBaseURL();

// The secret for the archive: that of the information property list, else the user's, else "". Also
// "" for one that no header field can carry (canBeSent()). A file that may hold the secret and that
// others can read is named in the system log.
std::string centralArchiveAPISecret(const Configuration& configuration = Configuration::current());

}  // namespace tolvane
