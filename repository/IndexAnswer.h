// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string_view>

#include "base/Error.h"
#include "base/URL.h"
#include "http/HTTPClient.h"

namespace tolvane {

// One answer to a request for an index, or the error in its stead.
struct IndexAnswer {
  const std::optional<URL>& url;  // as it was asked, before any redirect
  const std::optional<HTTPResponse>& response;
  std::string_view body;  // with an HTTP content encoding undone; valid during the call
  // Of the transfer. An index that was received but cannot be read for lack of memory is reported a
  // second time, without its body and with ENOMEM of kPOSIXErrorDomain.
  const std::optional<Error>& error;
};

// Called for each answer before it is read, on the session's callback queue with no lock held.
using IndexObserver = std::function<void(const IndexAnswer&)>;

// Whether it is ENOMEM of kPOSIXErrorDomain.
bool isOutOfMemory(const std::optional<Error>& error);

// Writes to the system log that there is not enough memory for an index, and reports it to the
// observer, which may be empty, unless that was the answer's own error.
void reportNotEnoughMemory(const IndexAnswer& answer, const IndexObserver& observer);

}  // namespace tolvane
