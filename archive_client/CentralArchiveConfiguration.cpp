// SPDX-License-Identifier: MIT
#include "archive_client/CentralArchiveConfiguration.h"

namespace tolvane {

std::string_view centralArchiveBaseURL() {
  return TOLVANE_CENTRAL_ARCHIVE_URL;
}

std::string centralArchiveAPISecret(const Bundle& bundle, const UserDefaults& defaults) {
  std::string secret = bundle.infoText(kCentralArchiveAPISecretKey);
  return secret.empty() ? defaults.stringForKey(kCentralArchiveAPISecretKey) : secret;
}

}  // namespace tolvane
