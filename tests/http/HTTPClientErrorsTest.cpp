// SPDX-License-Identifier: MIT
#include "tests/http/HTTPClientFixture.h"
#include "tests/http/UnansweredPort.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

class HTTPClientErrors : public HTTPClientFixture {};

TEST_F(HTTPClientErrors, NoURLOrAnotherSchemeThanHTTPIsUnsupported) {
  const Error unsupported = urlError(-1002, "unsupported URL");
  for (const char* url :
       {"ftp://127.0.0.1/file", "file:///etc/hostname", "Packages.gz", "//127.0.0.1/x", ""}) {
    const BodyReply reply = get(url);
    EXPECT_EQ(reply.error, unsupported) << url << ": " << describe(reply.error);
    EXPECT_EQ(reply.response, std::nullopt) << url;
    EXPECT_EQ(download(url).error, unsupported) << url;
  }
  EXPECT_EQ(await(startSend(*client(), {std::nullopt, {}})).error, unsupported);
  const FileReply file = await(startDownload(*client(), {std::nullopt, {}}, folder_.path()));
  EXPECT_EQ(file.error, unsupported);
  EXPECT_FALSE(file.file.isOpen());
}

TEST_F(HTTPClientErrors, AnEmptyHostIsAnErrorWithoutARequest) {
  for (const char* url : {"http:///Packages", "http:Packages"}) {
    const BodyReply reply = get(url);
    ASSERT_TRUE(reply.error) << url;
    EXPECT_EQ(reply.error->domain, kURLErrorDomain) << url;
    EXPECT_EQ(reply.error->code, kURLErrorBadURL) << url;
  }
}

TEST_F(HTTPClientErrors, AnUnknownHostIsAnError) {
  // No name has a part of 64 characters, so no name server is asked.
  const std::string url = "http://" + std::string(64, 'a') + ".invalid/";
  const Error error = urlError(-1003, "A server with the specified hostname could not be found.");
  EXPECT_EQ(get(url).error, error);
  EXPECT_EQ(download(url).error, error);
}

TEST_F(HTTPClientErrors, ARefusedConnectionIsAnError) {
  const UnansweredPort port(UnansweredPort::Kind::refusing);
  const Error error = urlError(-1004, "Could not connect to the server.");
  EXPECT_EQ(get(port.url("http")).error, error);
  EXPECT_EQ(download(port.url("http")).error, error);
  EXPECT_EQ(download(port.url("https")).error, error);
}

TEST_F(HTTPClientErrors, AConnectionClosedWithoutAResponseIsLost) {
  server_.on("/nothing", hangUp());
  expectFailure("/nothing", 0, connectionLost());
}

TEST_F(HTTPClientErrors, AConnectionResetBeforeTheResponseIsLost) {
  server_.on("/reset", reset());
  expectFailure("/reset", 0, connectionLost());
}

TEST_F(HTTPClientErrors, AConnectionResetInsideTheBodyIsLost) {
  server_.on("/reset", reset(halfResponse()));
  expectFailure("/reset", 200, connectionLost());
}

TEST_F(HTTPClientErrors, ABodyCutShortIsALostConnectionWithItsStatus) {
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

TEST_F(HTTPClientErrors, ABodyCutShortIsALostConnectionWithAnyStatus) {
  server_.on("/cut", hangUp(responseHead(404, {{"Content-Length", "10"}}) + "half "));
  expectFailure("/cut", 404, connectionLost());
}

TEST_F(HTTPClientErrors, AContentLengthThatIsTooSmallEndsTheBodyAndAffectsNoOther) {
  server_.on("/lie", lieAboutLength("0123456789", 4));
  server_.on("/fine", respond(200, "fine"));
  EXPECT_EQ(get(server_.url("/lie")).body, "0123");
  const BodyReply reply = get(server_.url("/fine"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "fine");
}

TEST_F(HTTPClientErrors, AResponseThatIsNotHTTPIsAnError) {
  server_.on("/garbage", hangUp("\x01\x02 not a status line\r\n\r\n"));
  for (const auto& error :
       {get(server_.url("/garbage")).error, download(server_.url("/garbage")).error}) {
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kURLErrorDomain);
    EXPECT_EQ(error->code, kURLErrorBadServerResponse);
  }
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientErrors, AFailureDoesNotAffectOtherRequests) {
  server_.on("/stuck", stall(halfResponse()));
  server_.on("/cut", cutOff("0123456789", 4));
  server_.on("/fine", delayed(milliseconds(50), respond(200, "fine")));
  const auto client = this->client({.timeoutIntervalForRequest = milliseconds(700)});
  std::vector<std::future<BodyReply>> replies;
  for (int i = 0; i < 10; ++i) {
    startSend(*client, request(server_.url(i % 2 == 0 ? "/stuck" : "/cut")));
    replies.push_back(startSend(*client, request(server_.url("/fine"))));
  }
  for (auto& reply : replies) EXPECT_EQ(await(std::move(reply)).body, "fine");
}

TEST_F(HTTPClientErrors, AnErrorOfLibcurlHasADetail) {
  const UnansweredPort port(UnansweredPort::Kind::refusing);
  const BodyReply reply = get(port.url("http"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->description, "Could not connect to the server.");
  EXPECT_NE(reply.error->detail, "");
  EXPECT_NE(reply.error->detail, reply.error->description);
}

}  // namespace

}  // namespace tolvane
