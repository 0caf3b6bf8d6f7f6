// SPDX-License-Identifier: MIT
#include "tests/support/ScriptedHTTPClient.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "async/Dispatch.h"

namespace tolvane {

namespace {

std::optional<HTTPResponse> responseOf(const ScriptedAnswer& answer) {
  if (answer.status == 0) return std::nullopt;
  return HTTPResponse{answer.status};
}

// The body of the answer as a real client writes it: an open file exactly when there is no error.
TemporaryFile fileOf(const std::string& folder, ScriptedAnswer& answer) {
  TemporaryFile file;
  if (answer.error) return file;
  answer.error = file.open(folder);
  if (!answer.error) answer.error = file.write(answer.body.data(), answer.body.size());
  if (!answer.error) answer.error = file.flush();
  return answer.error ? TemporaryFile() : std::move(file);
}

}  // namespace

ScriptedAnswer failingAnswer(int code, std::string description) {
  return {0, "", Error{std::string(kURLErrorDomain), code, std::move(description)}};
}

struct ScriptedHTTPClient::Script {
  // Records the request and picks its answer.
  ScriptedAnswer take(const HTTPRequest& request, ScriptedRequest::Kind kind,
                      const std::string& folder) {
    const std::lock_guard lock(mutex);
    const std::string url = absoluteText(request.url);
    requests.push_back({kind, url, request.headers, folder, request.body, request.maximumFileSize});
    if (!request.url || !request.url->isHTTP()) {
      return failingAnswer(kURLErrorUnsupportedURL, "unsupported URL");
    }
    if (const auto found = byURL.find(url); found != byURL.end()) {
      std::deque<ScriptedAnswer>& answers = found->second;
      ScriptedAnswer answer = answers.front();
      if (answers.size() > 1) answers.pop_front();
      return answer;
    }
    if (inOrder.empty()) return {404, "", std::nullopt};
    ScriptedAnswer answer = std::move(inOrder.front());
    inOrder.pop_front();
    return answer;
  }

  void deliver(const SerialQueue& queue, Task completion) {
    const std::lock_guard lock(mutex);
    if (holding) {
      waiting.push_back([queue, completion = std::move(completion)]() mutable {
        queue.post(std::move(completion));
      });
    } else {
      queue.post(std::move(completion));
    }
    ++delivered;
    requested.notify_all();
  }

  void release(std::size_t count) {
    const std::lock_guard lock(mutex);
    for (; count > 0 && !waiting.empty(); --count) {
      waiting.front()();
      waiting.pop_front();
    }
  }

  mutable std::mutex mutex;
  mutable std::condition_variable requested;
  std::map<std::string, std::deque<ScriptedAnswer>> byURL;
  std::deque<ScriptedAnswer> inOrder;
  std::vector<ScriptedRequest> requests;
  std::vector<HTTPOptions> configurations;
  std::deque<Task> waiting;
  std::size_t delivered = 0;  // requests whose completion is held, or posted to the queue
  bool holding = false;
};

ScriptedHTTPClient::ScriptedHTTPClient() : ScriptedHTTPClient(std::make_shared<Script>()) {}

ScriptedHTTPClient::ScriptedHTTPClient(std::shared_ptr<Script> script)
    : script_(std::move(script)) {}

ScriptedHTTPClient::~ScriptedHTTPClient() = default;

HTTPClientFactory ScriptedHTTPClient::factory() const {
  return [script = script_](const HTTPOptions& options) {
    const std::lock_guard lock(script->mutex);
    script->configurations.push_back(options);
    return std::shared_ptr<HTTPClient>(new ScriptedHTTPClient(script));
  };
}

void ScriptedHTTPClient::answer(const std::string& url, ScriptedAnswer answer) {
  const std::lock_guard lock(script_->mutex);
  script_->byURL[url].push_back(std::move(answer));
}

void ScriptedHTTPClient::answerNext(ScriptedAnswer answer) {
  const std::lock_guard lock(script_->mutex);
  script_->inOrder.push_back(std::move(answer));
}

void ScriptedHTTPClient::hold() {
  const std::lock_guard lock(script_->mutex);
  script_->holding = true;
}

void ScriptedHTTPClient::release(std::size_t count) {
  script_->release(count);
}

void ScriptedHTTPClient::releaseAll() {
  {
    const std::lock_guard lock(script_->mutex);
    script_->holding = false;
  }
  script_->release(static_cast<std::size_t>(-1));
}

bool ScriptedHTTPClient::waitForRequests(std::size_t count) const {
  std::unique_lock lock(script_->mutex);
  return script_->requested.wait_for(lock, std::chrono::seconds(5),
                                     [&] { return script_->delivered >= count; });
}

std::vector<ScriptedRequest> ScriptedHTTPClient::requests() const {
  const std::lock_guard lock(script_->mutex);
  return script_->requests;
}

std::vector<std::string> ScriptedHTTPClient::requestedURLs() const {
  std::vector<std::string> urls;
  for (ScriptedRequest& request : requests()) urls.push_back(std::move(request.url));
  return urls;
}

std::vector<HTTPOptions> ScriptedHTTPClient::configurations() const {
  const std::lock_guard lock(script_->mutex);
  return script_->configurations;
}

void ScriptedHTTPClient::send(HTTPRequest request, BodyCompletion completion) {
  ScriptedAnswer answer = script_->take(request, ScriptedRequest::Kind::data, "");
  script_->deliver(queue_, [answer = std::move(answer), completion = std::move(completion)] {
    completion(answer.error ? "" : answer.body, responseOf(answer), answer.error);
  });
}

void ScriptedHTTPClient::download(HTTPRequest request, const std::string& folder,
                                  FileCompletion completion) {
  ScriptedAnswer answer = script_->take(request, ScriptedRequest::Kind::download, folder);
  script_->deliver(
      queue_, [answer = std::move(answer), folder, completion = std::move(completion)]() mutable {
        TemporaryFile file = fileOf(folder, answer);
        completion(std::move(file), responseOf(answer), answer.error);
      });
}

}  // namespace tolvane
