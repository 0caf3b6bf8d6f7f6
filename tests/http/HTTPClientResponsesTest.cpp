// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

class HTTPClientResponses : public HTTPClientFixture {};

TEST_F(HTTPClientResponses, ABodyIsReadIntoMemory) {
  server_.on("/file", respond(200, "some bytes"));
  const BodyReply reply = get(server_.url("/file"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(reply.body, "some bytes");
}

TEST_F(HTTPClientResponses, ABodyIsWrittenToAFile) {
  server_.on("/file", respond(200, std::string("some\0bytes", 10)));
  FileReply reply = download(server_.url("/file"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(bytesOf(reply), std::string("some\0bytes", 10));
}

TEST_F(HTTPClientResponses, ABodyOfAnyStatusIsReceived) {
  for (const int status : {200, 404, 410, 500, 503}) {
    server_.on("/page", respond(status, "a page"));
    const BodyReply body = get(server_.url("/page"));
    EXPECT_EQ(body.error, std::nullopt) << status;
    EXPECT_EQ(body.status(), status);
    EXPECT_EQ(body.body, "a page") << status;
    FileReply file = download(server_.url("/page"));
    EXPECT_EQ(file.error, std::nullopt) << status;
    EXPECT_EQ(file.status(), status);
    EXPECT_EQ(bytesOf(file), "a page") << status;
  }
}

TEST_F(HTTPClientResponses, AnEmptyBodyGivesAnOpenEmptyFile) {
  server_.on("/empty", respond(200, ""));
  server_.on("/none", sendRaw(responseHead(204, {})));
  EXPECT_EQ(get(server_.url("/empty")).body, "");
  for (const char* path : {"/empty", "/none"}) {
    FileReply reply = download(server_.url(path));
    EXPECT_EQ(reply.error, std::nullopt) << path;
    EXPECT_EQ(bytesOf(reply), "") << path;
  }
}

TEST_F(HTTPClientResponses, ABodyMayComeInChunksOrEndWithTheConnection) {
  server_.on("/chunks", respondChunked({"first ", "second ", "third"}));
  server_.on("/end", hangUp(responseHead(200, {}) + "until the end"));
  EXPECT_EQ(get(server_.url("/chunks")).body, "first second third");
  EXPECT_EQ(get(server_.url("/end")).body, "until the end");
  FileReply chunks = download(server_.url("/chunks"));
  EXPECT_EQ(bytesOf(chunks), "first second third");
}

TEST_F(HTTPClientResponses, ALargeBodyArrivesWhole) {
  std::string body;
  for (int i = 0; body.size() < 2'000'000; ++i) body += std::to_string(i) + "\n";
  server_.on("/large", respond(200, body));
  EXPECT_TRUE(get(server_.url("/large")).body == body);
  FileReply reply = download(server_.url("/large"));
  EXPECT_TRUE(bytesOf(reply) == body);
}

TEST_F(HTTPClientResponses, AnInterimResponseIsNotTheResponse) {
  server_.on("/hints", sendRaw(responseHead(103, {{"Link", "</style>"}}) +
                               responseHead(200, {{"Content-Length", "2"}}) + "ok"));
  const BodyReply reply = get(server_.url("/hints"));
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(reply.body, "ok");
}

TEST_F(HTTPClientResponses, AResponseHasItsHeaderFieldsAndTheURLThatResponded) {
  server_.on("/old", redirect("/new", 301));
  server_.on("/new", respond(200, "x", {{"ETag", "\"1\""}, {"Last-Modified", "yesterday"}}));
  const FileReply reply = download(server_.url("/old"));
  ASSERT_TRUE(reply.response);
  EXPECT_EQ(absoluteText(reply.response->url), server_.url("/new"));
  using Field = std::pair<std::string, std::string>;
  EXPECT_THAT(reply.response->headers,
              testing::IsSupersetOf({Field("ETag", "\"1\""), Field("Last-Modified", "yesterday")}));
}

}  // namespace

}  // namespace tolvane
