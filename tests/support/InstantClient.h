// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <optional>
#include <string>

#include "http/HTTPClient.h"

namespace tolvane {

// Answers every request at once, on the caller's thread, with the same body.
class InstantClient : public HTTPClient {
 public:
  explicit InstantClient(const std::string& body) : body_(body) {}

  void send(HTTPRequest, BodyCompletion completion) override {
    completion(body_, HTTPResponse{200}, std::nullopt);
  }
  void download(HTTPRequest, const std::string&, FileCompletion completion) override {
    completion(TemporaryFile(), std::nullopt, posixError(ENOTSUP));
  }

 private:
  const std::string& body_;
};

}  // namespace tolvane
