// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "base/Configuration.h"

namespace tolvane {

// The base URL of the archive's interface: a constant of the build (TOLVANE_CENTRAL_ARCHIVE_URL),
// https, without a trailing slash.
std::string_view centralArchiveBaseURL();

// The secret for the archive: that of the information property list where it has one, else the
// user's, else "". One with a line break or NUL in it, which no header field can carry, is refused:
// "" as well. A file that others can read and that may hold it is named in the system log.
std::string centralArchiveAPISecret(const Configuration& configuration = Configuration::current());

}  // namespace tolvane
