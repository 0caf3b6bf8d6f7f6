// SPDX-License-Identifier: MIT
#include "archive_client/CentralArchiveConfiguration.h"

#include <sys/stat.h>

#include "archive_client/CentralArchiveClient.h"
#include "base/SystemLog.h"
#include "plist/PropertyListFile.h"

namespace tolvane {

namespace {

std::string secretIn(const std::string& path) {
  const PropertyListText secret = textInPropertyListFile(path, kCentralArchiveAPISecretKey);
  if (secret.error) SystemLog::write("[MAIN] Could not read {}: {}", path, describe(secret.error));
  return secret.text;
}

void warnIfOthersCanRead(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0 || (status.st_mode & (S_IRGRP | S_IROTH)) == 0) return;
  SystemLog::write("[MAIN] Others can read {}, which may hold a secret.", path);
}

}  // namespace

std::string_view centralArchiveBaseURL() {
  return TOLVANE_CENTRAL_ARCHIVE_URL;
}

std::string centralArchiveAPISecret(const Configuration& configuration) {
  std::string secret = secretIn(configuration.infoPath);
  if (!secret.empty()) {
    // Without a secret, anybody may read this list.
    warnIfOthersCanRead(configuration.infoPath);
  } else {
    warnIfOthersCanRead(configuration.defaultsPath);
    secret = secretIn(configuration.defaultsPath);
  }
  return canBeSent(secret) ? secret : "";
}

}  // namespace tolvane
