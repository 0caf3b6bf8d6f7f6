// SPDX-License-Identifier: MIT
#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

class HTTPClientRequests : public HTTPClientFixture {};

TEST_F(HTTPClientRequests, TheURLIsSentAsItWasTyped) {
  server_.onAnyOther(respond(200, ""));
  for (const char* target : {"/a/../b/./c", "/%7Euser/%2f?q=%20&r=/../", "/a//b", "/a+b;c"}) {
    get(server_.url(target));
    EXPECT_EQ(server_.targets().back(), target);
  }
  get(server_.url("/a?b#c"));
  EXPECT_EQ(server_.targets().back(), "/a?b") << "a fragment is the client's";
}

TEST_F(HTTPClientRequests, HeaderFieldsAreSentAsGiven) {
  server_.on("/file", respond(200, ""));
  const Headers headers = {{"Cache-Control", "no-cache"}, {"X-Note", "a, b;  c=\"d\""}};
  await(startSend(*client(), request(server_.url("/file"), headers)));
  await(startDownload(*client(), request(server_.url("/file"), headers), folder_.path()));
  ASSERT_EQ(server_.requests().size(), 2u);
  for (const LoopbackRequest& sent : server_.requests()) {
    EXPECT_EQ(sent.header("Cache-Control"), "no-cache");
    EXPECT_EQ(sent.header("X-Note"), "a, b;  c=\"d\"");
    EXPECT_EQ(sent.header("Host"), "127.0.0.1:" + std::to_string(server_.port()));
    for (const char* name : {"Range", "Cookie", "Authorization", "If-Modified-Since", "Referer"}) {
      EXPECT_FALSE(sent.hasHeader(name)) << name;
    }
  }
}

TEST_F(HTTPClientRequests, AFieldWithAnEmptyValueIsSent) {
  server_.on("/form", respond(200, "taken"));
  for (const char* value : {"", " ", "\t"}) {
    post(server_.url("/form"), "x", {{"X-Empty", value}, {"X-Full", "1"}});
    const LoopbackRequest sent = server_.requests().back();
    EXPECT_NE(sent.head.find("\r\nX-Empty:\r\n"), std::string::npos) << sent.head;
    EXPECT_EQ(sent.header("X-Full"), "1");
  }
}

TEST_F(HTTPClientRequests, ARequestWithALineBreakInAFieldIsNotSent) {
  server_.onAnyOther(respond(200, "taken"));
  const Headers fields = {{"X-A", "1\r\nX-B: 2"},
                          {"X-A", "1\n"},
                          {"X-A", "\r1"},
                          {"X-A", std::string("1\0", 2)},
                          {"X-A: 1\nX-B", "2"}};
  for (const auto& field : fields) {
    const BodyReply reply = post(server_.url("/form"), "x", {field});
    ASSERT_TRUE(reply.error) << field.second;
    EXPECT_EQ(reply.error->domain, kURLErrorDomain);
    EXPECT_EQ(reply.error->code, kURLErrorUnknown);
    EXPECT_TRUE(await(startSend(*client(), request(server_.url("/"), {field}))).error);
    EXPECT_TRUE(
        await(startDownload(*client(), request(server_.url("/"), {field}), folder_.path())).error);
  }
  EXPECT_EQ(server_.requests().size(), 0u);
}

TEST_F(HTTPClientRequests, AGetHasNoBody) {
  server_.on("/file", respond(200, "x"));
  get(server_.url("/file"));
  EXPECT_EQ(server_.requests().at(0).method, "GET");
  EXPECT_FALSE(server_.requests().at(0).hasHeader("Content-Length"));
}

TEST_F(HTTPClientRequests, CookiesAreNotKept) {
  server_.on("/set", respond(200, "", {{"Set-Cookie", "id=1; Path=/"}}));
  const auto client = this->client();
  await(startSend(*client, request(server_.url("/set"))));
  await(startSend(*client, request(server_.url("/set"))));
  EXPECT_FALSE(server_.requests().back().hasHeader("Cookie"));
}

TEST_F(HTTPClientRequests, ResponsesAreNotCached) {
  server_.on("/file", inTurn({respond(200, "old", {{"Cache-Control", "max-age=3600"}}),
                              respond(200, "new", {{"Cache-Control", "max-age=3600"}})}));
  const auto client = this->client();
  EXPECT_EQ(await(startSend(*client, request(server_.url("/file")))).body, "old");
  EXPECT_EQ(await(startSend(*client, request(server_.url("/file")))).body, "new");
}

TEST_F(HTTPClientRequests, AnUncachedRequestForbidsCaching) {
  const std::optional<URL> url = URL::parse("http://repository.example/Packages");
  const HTTPRequest request = uncachedRequest(url);
  EXPECT_EQ(request.url, url);
  EXPECT_EQ(request.headers, (Headers{{"Cache-Control", "no-cache"}, {"Pragma", "no-cache"}}));
  EXPECT_EQ(uncachedRequest(std::nullopt).url, std::nullopt);
}

}  // namespace

}  // namespace tolvane
