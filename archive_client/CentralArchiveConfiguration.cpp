// SPDX-License-Identifier: MIT
#include "archive_client/CentralArchiveConfiguration.h"

#include "archive_client/CentralArchiveErrors.h"
#include "platform/PropertyListFile.h"

namespace tolvane {

std::string_view centralArchiveBaseURL() {
  return TOLVANE_CENTRAL_ARCHIVE_URL;
}

std::string centralArchiveAPISecret(const Bundle& bundle, const UserDefaults& defaults) {
  std::string secret = bundle.infoText(kCentralArchiveAPISecretKey);
  if (!secret.empty()) {
    // Such a list is there to be read by all, as long as it holds no secret.
    tellIfOthersCanRead(bundle.infoPath());
  } else {
    secret = defaults.stringForKey(kCentralArchiveAPISecretKey);
  }
  return canBeSent(secret) ? secret : "";
}

}  // namespace tolvane
