// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "base/Error.h"
#include "base/URL.h"
#include "http/HTTPClient.h"

namespace tolvane {

// One answer of a repository that is asked for its index, or what came instead of one.
struct IndexAnswer {
  const std::optional<URL>& url;  // as it was asked, before any redirect
  const std::optional<HTTPResponse>& response;
  std::string_view body;  // with an HTTP content encoding undone; valid during the call
  // Of the transfer. An index that was received but for which memory does not suffice is reported
  // a second time, without its body and with ENOMEM of kPOSIXErrorDomain.
  const std::optional<Error>& error;
};

// Called for each answer before it is read, on the session's callback queue with no lock held.
using IndexObserver = std::function<void(const IndexAnswer&)>;

// Whether the error says that memory does not suffice.
bool isOutOfMemory(const std::optional<Error>& error);

// Says in the system log that memory does not suffice for an index, and says it to the observer,
// which may be empty, where that was not the answer's own error.
void reportNotEnoughMemory(const IndexAnswer& answer, const IndexObserver& observer);

}  // namespace tolvane
