// SPDX-License-Identifier: MIT
#include "tests/support/ScriptedURLSession.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>

#include "platform/Dispatch.h"

namespace tolvane {

namespace {

std::optional<URLResponse> responseOf(const ScriptedAnswer& answer) {
  if (answer.status == 0) return std::nullopt;
  return URLResponse{answer.status};
}

// The answer's body as a real session leaves it: an open file exactly when there is no error.
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

struct ScriptedURLSession::Script {
  // Records the request and picks its answer.
  ScriptedAnswer take(const URLRequest& request, ScriptedRequest::Kind kind,
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
  std::vector<URLSessionConfiguration> configurations;
  std::deque<Task> waiting;
  std::size_t delivered = 0;  // requests whose completion waits or is on its way
  bool holding = false;
};

ScriptedURLSession::ScriptedURLSession() : ScriptedURLSession(std::make_shared<Script>()) {}

ScriptedURLSession::ScriptedURLSession(std::shared_ptr<Script> script)
    : script_(std::move(script)) {}

ScriptedURLSession::~ScriptedURLSession() = default;

URLSessionFactory ScriptedURLSession::factory() const {
  return [script = script_](const URLSessionConfiguration& configuration) {
    const std::lock_guard lock(script->mutex);
    script->configurations.push_back(configuration);
    return std::shared_ptr<URLSession>(new ScriptedURLSession(script));
  };
}

void ScriptedURLSession::answer(const std::string& url, ScriptedAnswer answer) {
  const std::lock_guard lock(script_->mutex);
  script_->byURL[url].push_back(std::move(answer));
}

void ScriptedURLSession::answerNext(ScriptedAnswer answer) {
  const std::lock_guard lock(script_->mutex);
  script_->inOrder.push_back(std::move(answer));
}

void ScriptedURLSession::hold() {
  const std::lock_guard lock(script_->mutex);
  script_->holding = true;
}

void ScriptedURLSession::release(std::size_t count) {
  script_->release(count);
}

void ScriptedURLSession::releaseAll() {
  {
    const std::lock_guard lock(script_->mutex);
    script_->holding = false;
  }
  script_->release(static_cast<std::size_t>(-1));
}

bool ScriptedURLSession::waitForRequests(std::size_t count) const {
  std::unique_lock lock(script_->mutex);
  return script_->requested.wait_for(lock, std::chrono::seconds(5),
                                     [&] { return script_->delivered >= count; });
}

std::vector<ScriptedRequest> ScriptedURLSession::requests() const {
  const std::lock_guard lock(script_->mutex);
  return script_->requests;
}

std::vector<std::string> ScriptedURLSession::requestedURLs() const {
  std::vector<std::string> urls;
  for (ScriptedRequest& request : requests()) urls.push_back(std::move(request.url));
  return urls;
}

std::vector<URLSessionConfiguration> ScriptedURLSession::configurations() const {
  const std::lock_guard lock(script_->mutex);
  return script_->configurations;
}

void ScriptedURLSession::dataTask(URLRequest request, DataCompletion completion) {
  ScriptedAnswer answer = script_->take(request, ScriptedRequest::Kind::data, "");
  script_->deliver(queue_, [answer = std::move(answer), completion = std::move(completion)] {
    completion(answer.error ? "" : answer.body, responseOf(answer), answer.error);
  });
}

void ScriptedURLSession::downloadTask(URLRequest request, const std::string& folder,
                                      DownloadCompletion completion) {
  ScriptedAnswer answer = script_->take(request, ScriptedRequest::Kind::download, folder);
  script_->deliver(
      queue_, [answer = std::move(answer), folder, completion = std::move(completion)]() mutable {
        TemporaryFile file = fileOf(folder, answer);
        completion(std::move(file), responseOf(answer), answer.error);
      });
}

}  // namespace tolvane
