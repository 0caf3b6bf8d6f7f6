// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <optional>
#include <string>

#include "platform/URLSession.h"

namespace tolvane {

// Answers every request at once, on the caller's thread, with the same body.
class InstantSession : public URLSession {
 public:
  explicit InstantSession(const std::string& body) : body_(body) {}

  void dataTask(URLRequest, DataCompletion completion) override {
    completion(body_, URLResponse{200}, std::nullopt);
  }
  void downloadTask(URLRequest, const std::string&, DownloadCompletion completion) override {
    completion(TemporaryFile(), std::nullopt, posixError(ENOTSUP));
  }

 private:
  const std::string& body_;
};

}  // namespace tolvane
