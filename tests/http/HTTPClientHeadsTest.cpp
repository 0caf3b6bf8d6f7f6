// SPDX-License-Identifier: MIT
// Heads of responses that are cut, contradict themselves or do not end.
#include <gmock/gmock.h>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

constexpr const char* kOK = "HTTP/1.1 200 OK\r\n";

// A connection that breaks inside the head, with send() and with download().
class HTTPClientHeads : public HTTPClientFixture {
 protected:
  void expectLost(const LoopbackHandler& handler) {
    server_.onAnyOther(handler);
    const BodyReply body = get(server_.url("/data"));
    EXPECT_EQ(body.error, connectionLost()) << describe(body.error);
    EXPECT_EQ(body.response, std::nullopt);
    const FileReply file = download(server_.url("/file"));
    EXPECT_EQ(file.error, connectionLost()) << describe(file.error);
    EXPECT_EQ(file.response, std::nullopt);
    EXPECT_FALSE(file.file.isOpen());
    EXPECT_EQ(folder_.names(), std::vector<std::string>{});
  }
};

struct CutHead {
  const char* name;
  std::string sent;
};

class HTTPClientCutHeads : public HTTPClientHeads, public testing::WithParamInterface<CutHead> {};

TEST_P(HTTPClientCutHeads, AConnectionClosedInsideTheHeadIsLost) {
  expectLost(hangUp(GetParam().sent));
}

TEST_P(HTTPClientCutHeads, AConnectionResetInsideTheHeadIsLost) {
  expectLost(reset(GetParam().sent));
}

INSTANTIATE_TEST_SUITE_P(
    Places, HTTPClientCutHeads,
    testing::Values(
        CutHead{"AfterTheStatusLine", kOK}, CutHead{"InsideAFieldName", kOK + std::string("Cont")},
        CutHead{"InsideAFieldValue", kOK + std::string("Content-Length: 1")},
        CutHead{"AfterAField", kOK + std::string("Content-Length: 10\r\n")},
        CutHead{"BeforeTheLastLineFeed", kOK + std::string("Content-Length: 10\r\n\r")},
        CutHead{"AfterAStatusLineOfHTTP10", "HTTP/1.0 200 OK\r\n"},
        CutHead{"AfterAStatusLineOfFailure", "HTTP/1.1 404 Not Found\r\n"},
        CutHead{"InsideARedirect", "HTTP/1.1 302 Found\r\nLocation: /elsewhere\r\n"},
        CutHead{"AfterAnInterimResponse", "HTTP/1.1 100 Continue\r\n\r\n"},
        CutHead{"AfterTwoInterimResponses",
                "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\nHTTP/1.1 100 Continue\r\n\r\n"},
        CutHead{"InsideTheHeadAfterAnInterimResponse",
                "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 10\r\n"}),
    [](const auto& head) { return std::string(head.param.name); });

// libcurl reports it in different ways, depending on the bytes that came.
TEST_F(HTTPClientHeads, AConnectionClosedInsideTheStatusLineIsAnError) {
  for (const char* sent : {"H", "HTTP/1", "HTTP/1.1 2"}) {
    server_.onAnyOther(hangUp(sent));
    const FileReply reply = download(server_.url("/file"));
    EXPECT_TRUE(reply.error) << sent;
    EXPECT_EQ(reply.response, std::nullopt) << sent;
    EXPECT_FALSE(reply.file.isOpen()) << sent;
  }
}

TEST_F(HTTPClientHeads, ASwitchOfProtocolsIsAnError) {
  server_.onAnyOther(
      hangUp("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\nConnection: Upgrade\r\n\r\nbytes"));
  const FileReply reply = download(server_.url("/file"));
  EXPECT_TRUE(reply.error);
  EXPECT_FALSE(reply.file.isOpen());
}

TEST_F(HTTPClientHeads, APostWithoutACompleteHeadIsLostAndNotSentAgain) {
  server_.onAnyOther(hangUp(kOK));
  const BodyReply reply = post(server_.url("/upload"), "body");
  EXPECT_EQ(reply.error, connectionLost()) << describe(reply.error);
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(HTTPClientHeads, AnInterimResponseIsSkipped) {
  server_.onAnyOther(sendRaw("HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n" +
                             responseHead(200, {{"Content-Length", "4"}}) + "body"));
  const BodyReply reply = get(server_.url("/data"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.body, "body");
  ASSERT_TRUE(reply.response);
  EXPECT_THAT(reply.response->headers,
              testing::ElementsAre(std::pair<std::string, std::string>("Content-Length", "4")));
}

// Only the size in the index shows whether such a body is whole.
TEST_F(HTTPClientHeads, ABodyWithoutALengthEndsWithItsConnection) {
  server_.onAnyOther(hangUp(std::string(kOK) + "\r\nbody"));
  FileReply reply = download(server_.url("/file"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(bytesOf(reply), "body");
}

TEST_F(HTTPClientHeads, LengthsThatContradictEachOtherAreAnError) {
  for (const char* lengths :
       {"Content-Length: 8\r\nContent-Length: 4\r\n", "Content-Length: 4\r\ncontent-length: 8\r\n",
        "Content-Length: 4, 8\r\n", "Content-Length: 8\r\nContent-Length: 8, 4\r\n"}) {
    server_.onAnyOther(hangUp(kOK + std::string(lengths) + "\r\nwholebod"));
    const FileReply reply = download(server_.url("/file"));
    EXPECT_EQ(reply.error, urlError(-1011, "bad server response")) << lengths;
    EXPECT_FALSE(reply.file.isOpen()) << lengths;
    EXPECT_EQ(get(server_.url("/data")).error, urlError(-1011, "bad server response")) << lengths;
  }
  for (const char* lengths :
       {"Content-Length: 4\r\nContent-Length: 4\r\n", "Content-Length: 4, 4\r\n"}) {
    server_.onAnyOther(hangUp(kOK + std::string(lengths) + "\r\nbody"));
    EXPECT_EQ(get(server_.url("/data")).body, "body") << lengths;
  }
}

TEST_F(HTTPClientHeads, AnEndlessHeadGivesNoResponse) {
  server_.on("/endless", [](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write("HTTP/1.1 200 OK\r\n");
    const std::string line = "X-Filler: " + std::string(1000, 'x') + "\r\n";
    while (connection.write(line)) continue;
    connection.close();
  });
  const BodyReply reply = get(server_.url("/endless"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.response, std::nullopt);
}

TEST_F(HTTPClientHeads, AnEndlessHeadEndsAtItsLimit) {
  server_.onAnyOther([](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(kOK);
    const std::string field = "X-Field: " + std::string(1000, 'x') + "\r\n";
    while (connection.write(field)) {
    }
  });
  const FileReply reply = download(server_.url("/file"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->code, kURLErrorDataLengthExceedsMaximum);
  EXPECT_EQ(get(server_.url("/data")).error->code, kURLErrorDataLengthExceedsMaximum);
}

TEST_F(HTTPClientHeads, EndlessInterimResponsesEndAtTheLimitOfAHead) {
  server_.onAnyOther([](const LoopbackRequest&, LoopbackConnection& connection) {
    while (connection.write("HTTP/1.1 100 Continue\r\n\r\n")) {
    }
  });
  const BodyReply reply = get(server_.url("/data"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->code, kURLErrorDataLengthExceedsMaximum);
}

}  // namespace

}  // namespace tolvane
