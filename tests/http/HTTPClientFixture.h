// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "http/CurlClient.h"
#include "http/CurlMulti.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

// What send() and download() call their completions with.
struct BodyReply {
  std::string body;
  std::optional<HTTPResponse> response;
  std::optional<Error> error;

  int status() const { return statusOf(response); }
};

struct FileReply {
  TemporaryFile file;
  std::optional<HTTPResponse> response;
  std::optional<Error> error;

  int status() const { return statusOf(response); }
};

// A server, a folder, and clients over a CurlMulti of the test's own, which starts without
// connections. The environment names no proxy and no certificates but those that the test sets.
class HTTPClientFixture : public testing::Test {
 protected:
  using Headers = HeaderFields;

  HTTPClientFixture() { clearEnvironment(); }

  ~HTTPClientFixture() override {
    multi_->stop();  // its thread reads the environment
    clearEnvironment();
  }

  std::shared_ptr<HTTPClient> client(const HTTPOptions& options = {}) const {
    return std::make_shared<CurlClient>(options, multi_);
  }

  static HTTPRequest request(const std::string& url, Headers headers = {}) {
    return {URL::parse(url), std::move(headers)};
  }

  static std::future<BodyReply> startSend(HTTPClient& client, HTTPRequest request) {
    auto promise = std::make_shared<std::promise<BodyReply>>();
    client.send(std::move(request), [promise](std::string body, auto response, auto error) {
      promise->set_value({std::move(body), response, error});
    });
    return promise->get_future();
  }

  static std::future<FileReply> startDownload(HTTPClient& client, HTTPRequest request,
                                              const std::string& folder) {
    auto promise = std::make_shared<std::promise<FileReply>>();
    client.download(std::move(request), folder,
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

  BodyReply get(const std::string& url, const HTTPOptions& options = {}) const {
    return await(startSend(*client(options), request(url)));
  }

  BodyReply post(const std::string& url, std::string body, Headers headers = {},
                 const HTTPOptions& options = {}) const {
    HTTPRequest request{URL::parse(url), std::move(headers), std::move(body)};
    return await(startSend(*client(options), std::move(request)));
  }

  FileReply download(const std::string& url, const HTTPOptions& options = {}) const {
    return await(startDownload(*client(options), request(url), folder_.path()));
  }

  // send() and download() of the path must fail alike and leave no file.
  void expectFailure(const std::string& path, int status, const Error& error,
                     const HTTPOptions& options = {}) const {
    const auto client = this->client(options);
    auto bodyReply = startSend(*client, request(server_.url(path)));
    auto fileReply = startDownload(*client, request(server_.url(path)), folder_.path());
    const BodyReply body = await(std::move(bodyReply));
    EXPECT_EQ(body.error, error) << describe(body.error);
    EXPECT_EQ(body.status(), status);
    const FileReply file = await(std::move(fileReply));
    EXPECT_EQ(file.error, error) << describe(file.error);
    EXPECT_EQ(file.status(), status);
    EXPECT_FALSE(file.file.isOpen());
    EXPECT_EQ(folder_.names(), std::vector<std::string>{});
  }

  // The bytes of the downloaded file, which is removed.
  std::string bytesOf(FileReply& reply) const {
    EXPECT_TRUE(reply.file.isOpen());
    const std::optional<Error> error = reply.file.moveTo(folder_.path("bytes"));
    EXPECT_EQ(error, std::nullopt) << describe(error);
    std::string bytes = folder_.read("bytes");
    std::remove(folder_.path("bytes").c_str());
    return bytes;
  }

  // For the rest of the test.
  static void setEnvironment(const char* name, const std::string& value) {
    setenv(name, value.c_str(), 1);
  }

  static Error urlError(int code, std::string description) {
    return {"NSURLErrorDomain", code, std::move(description)};
  }

  static Error timedOut() { return urlError(-1001, "The request timed out."); }
  static Error connectionLost() { return urlError(-1005, "The network connection was lost."); }

  // A response of 200 with half of its body.
  static std::string halfResponse() {
    return responseHead(200, {{"Content-Length", "10"}}) + "half ";
  }

  TemporaryFolder folder_;
  LoopbackServer server_;
  std::shared_ptr<CurlMulti> multi_ = std::make_shared<CurlMulti>();

 private:
  static void clearEnvironment() {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY",
                             "no_proxy", "NO_PROXY", "SSL_CERT_FILE", "SSL_CERT_DIR"}) {
      unsetenv(name);
    }
  }
};

// Waits until the condition holds; false when it does not within 20 seconds.
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
