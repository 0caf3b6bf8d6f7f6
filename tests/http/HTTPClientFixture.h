// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdio>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "http/HTTPClient.h"
#include "http/CurlClient.h"
#include "http/CurlMulti.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

struct DataReply {
  std::string body;
  std::optional<HTTPResponse> response;
  std::optional<Error> error;
  std::thread::id thread;

  int status() const { return response ? response->statusCode : 0; }
};

struct DownloadReply {
  TemporaryFile file;
  std::optional<HTTPResponse> response;
  std::optional<Error> error;

  int status() const { return response ? response->statusCode : 0; }
};

// A transport of the test's own, so that it starts without connections, a server and a folder.
class HTTPClientFixture : public testing::Test {
 protected:
  using Headers = std::vector<std::pair<std::string, std::string>>;

  std::shared_ptr<HTTPClient> session(const HTTPOptions& configuration = {}) const {
    return std::make_shared<CurlClient>(configuration, transport_);
  }

  static HTTPRequest request(const std::string& url, Headers headers = {}) {
    return {URL::parse(url), std::move(headers)};
  }

  static std::future<DataReply> startData(HTTPClient& session, HTTPRequest request) {
    auto promise = std::make_shared<std::promise<DataReply>>();
    session.send(std::move(request), [promise](std::string body, auto response, auto error) {
      promise->set_value({std::move(body), response, error, std::this_thread::get_id()});
    });
    return promise->get_future();
  }

  static std::future<DownloadReply> startDownload(HTTPClient& session, HTTPRequest request,
                                                  const std::string& folder) {
    auto promise = std::make_shared<std::promise<DownloadReply>>();
    session.download(std::move(request), folder,
                     [promise](TemporaryFile file, auto response, auto error) {
                       promise->set_value({std::move(file), response, error});
                     });
    return promise->get_future();
  }

  // The reply, or one with an error of no domain when none comes.
  template <typename Reply>
  static Reply await(std::future<Reply> future) {
    if (future.wait_for(std::chrono::seconds(20)) == std::future_status::ready) return future.get();
    ADD_FAILURE() << "the completion was not called";
    Reply reply;
    reply.error = Error{"", 0, "the completion was not called"};
    return reply;
  }

  DataReply get(const std::string& url, const HTTPOptions& configuration = {}) const {
    return await(startData(*session(configuration), request(url)));
  }

  DataReply post(const std::string& url, std::string body, Headers headers = {},
                 const HTTPOptions& configuration = {}) const {
    HTTPRequest request{URL::parse(url), std::move(headers), std::move(body)};
    return await(startData(*session(configuration), std::move(request)));
  }

  DownloadReply download(const std::string& url, const HTTPOptions& configuration = {}) const {
    return await(startDownload(*session(configuration), request(url), folder_.path()));
  }

  // What the downloaded file holds. The file is gone afterwards.
  std::string bytesOf(DownloadReply& reply) const {
    EXPECT_TRUE(reply.file.isOpen());
    const std::optional<Error> error = reply.file.moveTo(folder_.path("bytes"));
    EXPECT_EQ(error, std::nullopt) << describe(error);
    std::string bytes = folder_.read("bytes");
    std::remove(folder_.path("bytes").c_str());
    return bytes;
  }

  static Error urlError(int code, std::string description) {
    return {"NSURLErrorDomain", code, std::move(description)};
  }

  static Error timedOut() { return urlError(-1001, "The request timed out."); }
  static Error connectionLost() { return urlError(-1005, "The network connection was lost."); }

  TemporaryFolder folder_;
  LoopbackServer server_;
  std::shared_ptr<CurlMulti> transport_ = std::make_shared<CurlMulti>();
};

// Waits for something that another thread brings about; false when it does not within 20 seconds.
template <typename Condition>
bool eventually(const Condition& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace tolvane
