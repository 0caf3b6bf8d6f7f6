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

// What a scripted session gives for one request.
struct ScriptedAnswer {
  int status = 200;       // 0: no answer arrived, only the error did
  std::string body = {};  // as on a real session, nothing of it is handed over beside an error
  std::optional<Error> error = {};
};

// One of kURLErrorDomain before anything arrived.
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

// A URL session that answers from a script and records what it was asked. Where the script says
// nothing about a URL, the answer is a 404 with no body. Any thread.
//
// All sessions that factory() makes share the script and the records; each calls its completions
// one at a time on a serial background queue of its own. A request without URL, or with a scheme
// other than http and https, is recorded and fails as it does on a real session.
class ScriptedHTTPClient : public HTTPClient {
 public:
  ScriptedHTTPClient();
  ~ScriptedHTTPClient() override;

  HTTPClientFactory factory() const;

  // Answers for this URL, in order; the last one serves every further request.
  void answer(const std::string& url, ScriptedAnswer answer);

  // Answers for requests that have none by their URL, in order, each used once.
  void answerNext(ScriptedAnswer answer);

  // From now on completions wait until they are released.
  void hold();

  // Lets the oldest `count` waiting completions go.
  void release(std::size_t count);

  // Lets all waiting completions go and holds no more.
  void releaseAll();

  // Waits until that many requests have been made and their completions can be released; false
  // when they do not come within 5 seconds.
  bool waitForRequests(std::size_t count) const;

  std::vector<ScriptedRequest> requests() const;
  std::vector<std::string> requestedURLs() const;
  std::vector<HTTPOptions> configurations() const;  // asked of the factory

  void send(HTTPRequest request, BodyCompletion completion) override;
  void download(HTTPRequest request, const std::string& folder, FileCompletion completion) override;

 private:
  struct Script;

  explicit ScriptedHTTPClient(std::shared_ptr<Script> script);

  std::shared_ptr<Script> script_;
  SerialQueue queue_;
};

}  // namespace tolvane
