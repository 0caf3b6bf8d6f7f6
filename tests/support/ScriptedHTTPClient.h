// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "async/SerialQueue.h"
#include "base/Error.h"
#include "http/HTTPClient.h"

namespace tolvane {

// What a scripted client answers to one request.
struct ScriptedAnswer {
  int status = 200;       // 0: no response, only the error
  std::string body = {};  // not passed to the completion when there is an error
  std::optional<Error> error = {};
};

// An error of kURLErrorDomain without a response.
ScriptedAnswer failingAnswer(int code, std::string description);

struct ScriptedRequest {
  enum class Kind { data, download };

  Kind kind = Kind::data;
  std::string url;  // "" for a request without URL
  std::vector<std::pair<std::string, std::string>> headers;
  std::string folder = {};  // of a download
  std::optional<std::string> body = {};
  std::optional<std::uint64_t> maximumFileSize = {};
};

// An HTTPClient that answers from a script and records its requests. A URL that is not in the
// script is answered with a 404 without a body. Any thread.
//
// All clients that factory() makes share the script and the records; each calls its completions one
// at a time on a serial background queue of its own. A request without a URL, or with a scheme
// other than http and https, is recorded and fails as it does with a real client.
class ScriptedHTTPClient : public HTTPClient {
 public:
  ScriptedHTTPClient();
  ~ScriptedHTTPClient() override;

  HTTPClientFactory factory() const;

  // Answers for this URL, in order; the last one serves every further request.
  void answer(const std::string& url, ScriptedAnswer answer);

  // Answers for all other URLs, in order, each used once.
  void answerNext(ScriptedAnswer answer);

  // From now on completions wait until they are released.
  void hold();

  // Releases the `count` completions that have waited longest.
  void release(std::size_t count);

  // Releases all waiting completions and ends hold().
  void releaseAll();

  // Waits until that many requests have been made and their completions can be released; false
  // when they do not come within 5 seconds.
  bool waitForRequests(std::size_t count) const;

  std::vector<ScriptedRequest> requests() const;
  std::vector<std::string> requestedURLs() const;
  std::vector<HTTPOptions> configurations() const;  // that the factory was called with

  void send(HTTPRequest request, BodyCompletion completion) override;
  void download(HTTPRequest request, const std::string& folder, FileCompletion completion) override;

 private:
  struct Script;

  explicit ScriptedHTTPClient(std::shared_ptr<Script> script);

  std::shared_ptr<Script> script_;
  SerialQueue queue_;
};

}  // namespace tolvane
