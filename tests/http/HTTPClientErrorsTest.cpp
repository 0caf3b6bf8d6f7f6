// SPDX-License-Identifier: MIT
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// A port of 127.0.0.1 on which nobody accepts: refused, or, with a backlog, silent.
class DeafPort {
 public:
  explicit DeafPort(bool backlog) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), length);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    if (backlog) listen(socket_, 16);
    port_ = ntohs(address.sin_port);
  }
  ~DeafPort() { close(socket_); }

  std::string url(const std::string& scheme) const {
    return scheme + "://127.0.0.1:" + std::to_string(port_) + "/";
  }

 private:
  int socket_;
  int port_;
};

// Long enough for a loaded machine to send what comes before.
constexpr milliseconds kTimeout(700);

class HTTPClientFailures : public HTTPClientFixture {
 protected:
  static HTTPOptions idle(milliseconds timeout) { return {.timeoutIntervalForRequest = timeout}; }

  static HTTPOptions altogether(milliseconds timeout) {
    return {.timeoutIntervalForResource = timeout};
  }

  // Both kinds of request, which must fail alike and leave nothing behind.
  void expectFailure(const std::string& path, int status, const Error& error,
                     const HTTPOptions& configuration = {}) {
    const auto session = this->session(configuration);
    auto dataReply = startData(*session, request(server_.url(path)));
    auto fileReply = startDownload(*session, request(server_.url(path)), folder_.path());
    const DataReply data = await(std::move(dataReply));
    EXPECT_EQ(data.error, error) << describe(data.error);
    EXPECT_EQ(data.status(), status);
    const DownloadReply file = await(std::move(fileReply));
    EXPECT_EQ(file.error, error) << describe(file.error);
    EXPECT_EQ(file.status(), status);
    EXPECT_FALSE(file.file.isOpen());
    EXPECT_EQ(folder_.names(), std::vector<std::string>{});
  }

  static std::string halfAnswer() {
    return responseHead(200, {{"Content-Length", "10"}}) + "half ";
  }
};

TEST_F(HTTPClientFailures, NoURLOrAnotherSchemeThanHTTPIsUnsupported) {
  const Error unsupported = urlError(-1002, "unsupported URL");
  for (const char* text :
       {"ftp://127.0.0.1/file", "file:///etc/hostname", "Packages.gz", "//127.0.0.1/x", ""}) {
    const DataReply reply = get(text);
    EXPECT_EQ(reply.error, unsupported) << text << ": " << describe(reply.error);
    EXPECT_EQ(reply.response, std::nullopt) << text;
    EXPECT_EQ(download(text).error, unsupported) << text;
  }
  EXPECT_EQ(await(startData(*session(), {std::nullopt, {}})).error, unsupported);
  const DownloadReply file = await(startDownload(*session(), {std::nullopt, {}}, folder_.path()));
  EXPECT_EQ(file.error, unsupported);
  EXPECT_FALSE(file.file.isOpen());
}

TEST_F(HTTPClientFailures, AnEmptyHostIsAnErrorWithoutARequest) {
  for (const char* text : {"http:///Packages", "http:Packages"}) {
    const DataReply reply = get(text);
    ASSERT_TRUE(reply.error) << text;
    EXPECT_EQ(reply.error->domain, kURLErrorDomain) << text;
    EXPECT_EQ(reply.error->code, kURLErrorBadURL) << text;
  }
}

TEST_F(HTTPClientFailures, ARefusedConnection) {
  const DeafPort port(false);
  const Error error = urlError(-1004, "Could not connect to the server.");
  EXPECT_EQ(get(port.url("http")).error, error);
  EXPECT_EQ(download(port.url("http")).error, error);
  EXPECT_EQ(download(port.url("https")).error, error);
}

TEST_F(HTTPClientFailures, AnUnknownHost) {
  // No name has a part of 64 characters, so nobody is asked.
  const std::string url = "http://" + std::string(64, 'a') + ".invalid/";
  const Error error = urlError(-1003, "A server with the specified hostname could not be found.");
  EXPECT_EQ(get(url).error, error);
  EXPECT_EQ(download(url).error, error);
}

TEST_F(HTTPClientFailures, AServerThatStaysSilentTimesOut) {
  server_.on("/silent", stall());
  const auto start = Clock::now();
  expectFailure("/silent", 0, timedOut(), idle(kTimeout));
  EXPECT_GE(Clock::now() - start, kTimeout);
  EXPECT_LT(Clock::now() - start, 10 * kTimeout);
}

TEST_F(HTTPClientFailures, AServerThatStopsInTheMiddleTimesOut) {
  server_.on("/stuck", stall(halfAnswer()));
  expectFailure("/stuck", 200, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientFailures, AServerThatStopsInTheHeadTimesOutWithoutAResponse) {
  server_.on("/stuck", stall("HTTP/1.1 200 OK\r\nContent-Le"));
  expectFailure("/stuck", 0, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientFailures, TheIdleTimeoutCoversTheHandshake) {
  const DeafPort port(true);
  EXPECT_EQ(get(port.url("https"), idle(milliseconds(200))).error, timedOut());
}

TEST_F(HTTPClientFailures, ASlowAnswerDoesNotTimeOutAsLongAsBytesCome) {
  server_.on("/slow", drip("0123456789", milliseconds(90)));
  const DataReply reply = get(server_.url("/slow"), idle(kTimeout));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "0123456789");
}

TEST_F(HTTPClientFailures, AnAnswerThatTakesTooLongAltogetherTimesOut) {
  server_.on("/slow", drip(std::string(100, 'x'), milliseconds(20)));
  expectFailure("/slow", 200, timedOut(), altogether(kTimeout));
}

TEST_F(HTTPClientFailures, TimeoutsStartWithTheTransferAndNotWhileItWaits) {
  server_.onAnyOther(delayed(milliseconds(150), respond(200, "x")));
  HTTPOptions configuration;
  configuration.timeoutIntervalForRequest = kTimeout;
  configuration.timeoutIntervalForResource = kTimeout;
  configuration.maximumConnectionsPerHost = 1;
  const auto session = this->session(configuration);
  std::vector<std::future<DataReply>> replies;
  for (int i = 0; i < 6; ++i) replies.push_back(startData(*session, request(server_.url("/x"))));
  for (auto& reply : replies) EXPECT_EQ(await(std::move(reply)).error, std::nullopt);
}

TEST_F(HTTPClientFailures, AConnectionThatTimedOutIsNotUsedAgain) {
  server_.on("/stuck", stall(halfAnswer()));
  server_.on("/fine", respond(200, "fine"));
  EXPECT_EQ(get(server_.url("/stuck"), idle(milliseconds(100))).error, timedOut());
  EXPECT_EQ(get(server_.url("/fine")).body, "fine");
}

TEST_F(HTTPClientFailures, ABodyCutShortComesWithItsStatus) {
  server_.on("/cut", cutOff("0123456789", 4));
  server_.on("/cut-at-once", cutOff("0123456789", 0));
  server_.on("/cut-chunk", hangUp(responseHead(200, {{"Transfer-Encoding", "chunked"}}) +
                                  "5\r\nhello\r\n5\r\nwor"));
  server_.on("/no-last-chunk",
             hangUp(responseHead(200, {{"Transfer-Encoding", "chunked"}}) + "5\r\nhello\r\n"));
  for (const char* path : {"/cut", "/cut-at-once", "/cut-chunk", "/no-last-chunk"}) {
    SCOPED_TRACE(path);
    expectFailure(path, 200, connectionLost());
  }
}

TEST_F(HTTPClientFailures, AnAnswerShorterThanItsStatusSaysIsAFailureForAnyStatus) {
  server_.on("/cut", hangUp(responseHead(404, {{"Content-Length", "10"}}) + "half "));
  expectFailure("/cut", 404, connectionLost());
}

TEST_F(HTTPClientFailures, AConnectionResetBeforeTheAnswer) {
  server_.on("/reset", reset());
  expectFailure("/reset", 0, connectionLost());
}

TEST_F(HTTPClientFailures, AConnectionResetInTheMiddle) {
  server_.on("/reset", reset(halfAnswer()));
  expectFailure("/reset", 200, connectionLost());
}

TEST_F(HTTPClientFailures, NoAnswer) {
  server_.on("/nothing", hangUp());
  expectFailure("/nothing", 0, connectionLost());
}

TEST_F(HTTPClientFailures, AnAnswerThatIsNoHTTP) {
  server_.on("/garbage", hangUp("\x01\x02 nothing that a browser would know\r\n\r\n"));
  for (const auto& error :
       {get(server_.url("/garbage")).error, download(server_.url("/garbage")).error}) {
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kURLErrorDomain);
    EXPECT_EQ(error->code, kURLErrorBadServerResponse);
  }
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientFailures, AHeadWithoutEndIsAnError) {
  server_.on("/endless", [](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write("HTTP/1.1 200 OK\r\n");
    const std::string line = "X-Filler: " + std::string(1000, 'x') + "\r\n";
    while (connection.write(line)) continue;
    connection.close();
  });
  const DataReply reply = get(server_.url("/endless"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.response, std::nullopt);
}

TEST_F(HTTPClientFailures, ALengthThatIsTooLongIsWaitedForAndTimesOut) {
  server_.on("/lie", lieAboutLength("0123456789", 20));
  expectFailure("/lie", 200, timedOut(), idle(kTimeout));
}

TEST_F(HTTPClientFailures, ALengthThatIsTooShortEndsTheBodyAndSpoilsNoOther) {
  server_.on("/lie", lieAboutLength("0123456789", 4));
  server_.on("/fine", respond(200, "fine"));
  EXPECT_EQ(get(server_.url("/lie")).body, "0123");
  const DataReply reply = get(server_.url("/fine"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "fine");
}

TEST_F(HTTPClientFailures, AFailureDoesNotTouchTheOtherRequests) {
  server_.on("/stuck", stall(halfAnswer()));
  server_.on("/cut", cutOff("0123456789", 4));
  server_.on("/fine", delayed(milliseconds(50), respond(200, "fine")));
  const auto session = this->session(idle(kTimeout));
  std::vector<std::future<DataReply>> replies;
  for (int i = 0; i < 10; ++i) {
    startData(*session, request(server_.url(i % 2 == 0 ? "/stuck" : "/cut")));
    replies.push_back(startData(*session, request(server_.url("/fine"))));
  }
  for (auto& reply : replies) EXPECT_EQ(await(std::move(reply)).body, "fine");
}

}  // namespace

}  // namespace tolvane
