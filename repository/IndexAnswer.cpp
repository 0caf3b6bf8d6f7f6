// SPDX-License-Identifier: MIT
#include "repository/IndexAnswer.h"

#include <cerrno>

#include "base/SystemLog.h"

namespace tolvane {

bool isOutOfMemory(const std::optional<Error>& error) {
  return error && error->domain == kPOSIXErrorDomain && error->code == ENOMEM;
}

void reportNotEnoughMemory(const IndexAnswer& answer, const IndexObserver& observer) {
  SystemLog::write("[Crawler] Not enough memory for package index: {}", describe(answer.url));
  if (observer && !isOutOfMemory(answer.error)) {
    observer({answer.url, answer.response, "", posixError(ENOMEM)});
  }
}

}  // namespace tolvane
