// SPDX-License-Identifier: MIT
#include "tests/http/HTTPClientFixture.h"
#include "tests/http/UnansweredPort.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargeBody = std::size_t{12} << 20;  // more than a socket takes at once

// Long enough for a loaded machine to send what comes before.
constexpr milliseconds kTimeout(700);

class HTTPClientTimeouts : public HTTPClientFixture {
 protected:
  static HTTPOptions idle(milliseconds timeout) { return {.timeoutIntervalForRequest = timeout}; }

  static HTTPOptions altogether(milliseconds timeout) {
    return {.timeoutIntervalForResource = timeout};
  }
};

TEST_F(HTTPClientTimeouts, AServerThatStaysSilentTimesOut) {
  server_.on("/silent", stall());
  const auto start = Clock::now();
  expectFailure("/silent", 0, timedOut(), idle(kTimeout));
  EXPECT_GE(Clock::now() - start, kTimeout);
  EXPECT_LT(Clock::now() - start, 10 * kTimeout);
}

TEST_F(HTTPClientTimeouts, AServerThatStopsInsideTheHeadTimesOutWithoutAResponse) {
  server_.on("/stuck", stall("HTTP/1.1 200 OK\r\nContent-Le"));
  expectFailure("/stuck", 0, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientTimeouts, AServerThatStopsInsideTheBodyTimesOut) {
  server_.on("/stuck", stall(halfResponse()));
  expectFailure("/stuck", 200, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientTimeouts, AContentLengthThatIsTooLargeTimesOut) {
  server_.on("/lie", lieAboutLength("0123456789", 20));
  expectFailure("/lie", 200, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientTimeouts, TheIdleTimeoutIncludesTheTLSHandshake) {
  const UnansweredPort port(UnansweredPort::Kind::silent);
  EXPECT_EQ(get(port.url("https"), idle(milliseconds(200))).error, timedOut());
}

TEST_F(HTTPClientTimeouts, ASlowResponseDoesNotTimeOutWhileBytesCome) {
  server_.on("/slow", drip("0123456789", milliseconds(90)));
  const BodyReply reply = get(server_.url("/slow"), idle(kTimeout));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "0123456789");
}

TEST_F(HTTPClientTimeouts, AResponseThatTakesTooLongAltogetherTimesOut) {
  server_.on("/slow", drip(std::string(100, 'x'), milliseconds(20)));
  expectFailure("/slow", 200, timedOut(), altogether(kTimeout));
}

TEST_F(HTTPClientTimeouts, ARequestThatWaitsForAConnectionDoesNotTimeOut) {
  server_.onAnyOther(delayed(milliseconds(150), respond(200, "x")));
  HTTPOptions options;
  options.timeoutIntervalForRequest = kTimeout;
  options.timeoutIntervalForResource = kTimeout;
  options.maximumConnectionsPerHost = 1;
  const auto client = this->client(options);
  std::vector<std::future<BodyReply>> replies;
  for (int i = 0; i < 6; ++i) replies.push_back(startSend(*client, request(server_.url("/x"))));
  for (auto& reply : replies) EXPECT_EQ(await(std::move(reply)).error, std::nullopt);
}

TEST_F(HTTPClientTimeouts, RedirectsCountIntoTheTimeForTheWholeRequest) {
  server_.on("/loop", delayed(milliseconds(60), redirect("/loop")));
  EXPECT_EQ(get(server_.url("/loop"), altogether(milliseconds(300))).error, timedOut());
}

TEST_F(HTTPClientTimeouts, AConnectionThatTimedOutIsNotReused) {
  server_.on("/stuck", stall(halfResponse()));
  server_.on("/fine", respond(200, "fine"));
  EXPECT_EQ(get(server_.url("/stuck"), idle(milliseconds(100))).error, timedOut());
  EXPECT_EQ(get(server_.url("/fine")).body, "fine");
}

TEST_F(HTTPClientTimeouts, APostDoesNotTimeOutWhileBytesAreSent) {
  server_.onHead("/form", [](const LoopbackRequest&, LoopbackConnection& connection) {
    // Slow at first and the rest at once, so that what the kernel buffers at the end is sent
    // quickly.
    for (int i = 0; i < 15; ++i) {
      for (std::size_t taken = 0; taken < kLargeBody / 20;)
        taken += connection.read(1 << 18).size();
      connection.pause(milliseconds(100));
    }
    while (!connection.read(1 << 20).empty()) continue;
    respond(200, "taken")({}, connection);
  });
  const HTTPOptions options = idle(kTimeout);
  const BodyReply reply = post(server_.url("/form"), std::string(kLargeBody, 'x'), {}, options);
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "taken");
}

TEST_F(HTTPClientTimeouts, APostTimesOutWhenNoBytesAreSent) {
  server_.onHead("/form", stall());
  const HTTPOptions options = idle(milliseconds(300));
  EXPECT_EQ(post(server_.url("/form"), std::string(kLargeBody, 'x'), {}, options).error,
            timedOut());
}

TEST_F(HTTPClientTimeouts, APostThatTakesTooLongAltogetherTimesOut) {
  server_.onHead("/form", [](const LoopbackRequest&, LoopbackConnection& connection) {
    while (!connection.read(1000).empty()) connection.pause(milliseconds(5));
    connection.close();
  });
  const HTTPOptions options = altogether(milliseconds(300));
  EXPECT_EQ(post(server_.url("/form"), std::string(kLargeBody, 'x'), {}, options).error,
            timedOut());
}

}  // namespace

}  // namespace tolvane
