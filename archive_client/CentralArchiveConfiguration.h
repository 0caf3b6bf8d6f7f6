// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "platform/Bundle.h"
#include "platform/UserDefaults.h"

namespace tolvane {

// The one key of the program's configuration.
inline constexpr std::string_view kCentralArchiveAPISecretKey = "CentralArchiveAPISecret";

// The base URL of the archive's interface: a constant of the build (TOLVANE_CENTRAL_ARCHIVE_URL),
// https, without a trailing slash.
std::string_view centralArchiveBaseURL();

// The secret for the archive: the bundle's where it has one, else the user's, else "". One with a
// line break or NUL in it, which no header field can carry, is refused: "" as well. One that others
// can read is told in the system log.
std::string centralArchiveAPISecret(
    const Bundle& bundle = Bundle::mainBundle(),
    const UserDefaults& defaults = UserDefaults::standardUserDefaults());

}  // namespace tolvane
