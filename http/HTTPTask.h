// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "http/HTTPClient.h"

namespace tolvane {

class CurlClient;
using SteadyClock = std::chrono::steady_clock;

// One request from its submission to its end, through all redirects. It gets a handle of libcurl
// (CurlTransfer) only when it is sent: 100,000 that wait take megabytes.
struct HTTPTask {
  using Completion = std::variant<HTTPClient::BodyCompletion, HTTPClient::FileCompletion>;

  HTTPRequest request;
  std::string folder;        // of a download
  bool acceptsGzip = false;  // decided by the first URL, whatever a redirect leads to
  Completion completion;
  std::shared_ptr<CurlClient> client;
  SteadyClock::duration timeSpent{};  // on the wire, by the transfers that have ended
  int redirects = 0;
  bool resent = false;             // because a server left it unprocessed
  bool onFreshConnection = false;  // no kept connection may be used
  bool withoutHTTP2 = false;       // HTTP/2 gave no length of its body

  bool isDownload() const { return std::holds_alternative<HTTPClient::FileCompletion>(completion); }
};

// What a completion is called with.
struct HTTPResult {
  std::optional<HTTPResponse> response = {};
  std::optional<Error> error = {};
  std::string body = {};    // of send(), when there is no error
  TemporaryFile file = {};  // of download(), when there is no error
};

}  // namespace tolvane
