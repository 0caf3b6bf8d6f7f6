// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

#include "async/SerialQueue.h"
#include "http/HTTPTask.h"

namespace tolvane {

class CurlMulti;

// An HTTPClient whose requests are carried out by a CurlMulti. Its tasks own it, so it lives until
// the last one has ended. Requests that are submitted after the CurlMulti has stopped are dropped.
class CurlClient : public HTTPClient, public std::enable_shared_from_this<CurlClient> {
 public:
  CurlClient(const HTTPOptions& options, std::weak_ptr<CurlMulti> multi);

  void send(HTTPRequest request, BodyCompletion completion) override;
  void download(HTTPRequest request, const std::string& folder, FileCompletion completion) override;

  const HTTPOptions& options() const { return options_; }
  const SerialQueue& callbackQueue() const { return callbackQueue_; }

 private:
  friend class CurlMulti;

  // The requests to one server.
  struct ServerQueue {
    std::deque<std::unique_ptr<HTTPTask>> waiting;
    std::deque<std::unique_ptr<HTTPTask>> again;  // redirected or resent; sent before the others
    int active = 0;
    int streams = 0;  // how many may be active over HTTP/2; never below the limit of connections
  };

  void submit(HTTPRequest request, const std::string& folder, HTTPTask::Completion completion);

  const HTTPOptions options_;
  const SerialQueue callbackQueue_;
  const std::weak_ptr<CurlMulti> multi_;
  std::atomic<int> undeliveredFiles_{0};  // downloads that ended and whose completion has not run

  // The members below belong to the thread of the CurlMulti.
  std::unordered_map<std::string, ServerQueue> servers_;  // by URL::origin()
  std::size_t waiting_ = 0;                               // of all servers
  int active_ = 0;
};

}  // namespace tolvane
