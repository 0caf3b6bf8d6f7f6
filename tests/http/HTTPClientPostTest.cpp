// SPDX-License-Identifier: MIT
#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

constexpr std::size_t kLargeBody = std::size_t{12} << 20;  // more than a socket takes at once

class HTTPClientPost : public HTTPClientFixture {
 protected:
  // An error that a redirect has been refused with.
  static Error refused(const std::string& host) {
    return urlError(-1010, "The redirect to " + host + " was not followed.");
  }

  std::vector<std::string> methods() const {
    std::vector<std::string> methods;
    for (const LoopbackRequest& sent : server_.requests()) methods.push_back(sent.method);
    return methods;
  }

  LoopbackServer other_;
};

TEST_F(HTTPClientPost, SendsItsBodyAsItIs) {
  server_.on("/form", respond(200, "taken"));
  const std::string body("a\0b\r\n\xFF", 6);
  const BodyReply reply = post(server_.url("/form"), body, {{"Content-Type", "text/plain"}});
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "taken");
  const LoopbackRequest sent = server_.requests().at(0);
  EXPECT_EQ(sent.method, "POST");
  EXPECT_EQ(sent.body, body);
  EXPECT_EQ(sent.header("Content-Length"), "6");
  EXPECT_EQ(sent.header("Content-Type"), "text/plain");
}

TEST_F(HTTPClientPost, MayBeEmpty) {
  server_.on("/form", respond(200, "taken"));
  EXPECT_EQ(post(server_.url("/form"), "").body, "taken");
  EXPECT_EQ(server_.requests().at(0).method, "POST");
  EXPECT_EQ(server_.requests().at(0).header("Content-Length"), "0");
}

TEST_F(HTTPClientPost, OfALargeBodyDoesNotExpect100Continue) {
  server_.on("/form", respond(200, "taken"));
  const std::string body(kLargeBody, 'x');
  EXPECT_EQ(post(server_.url("/form"), body).body, "taken");
  EXPECT_TRUE(server_.requests().at(0).body == body);
  EXPECT_FALSE(server_.requests().at(0).hasHeader("Expect"));
}

TEST_F(HTTPClientPost, IsRepeatedByA307Or308WithinItsOrigin) {
  for (const int status : {307, 308}) {
    server_.on("/here", redirect("/there", status));
    server_.on("/there", respond(200, "taken"));
    EXPECT_EQ(post(server_.url("/here"), "some bytes", {{"X-Secret", "s"}}).body, "taken");
    const LoopbackRequest sent = server_.requests().back();
    EXPECT_EQ(sent.target, "/there");
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.body, "some bytes");
    EXPECT_EQ(sent.header("X-Secret"), "s");
  }
}

TEST_F(HTTPClientPost, IsNotRedirectedToAnotherOrigin) {
  other_.onAnyOther(respond(200, "stolen"));
  const std::string onOtherName = server_.url("/there", "localhost");
  for (const int status : {301, 302, 303, 307, 308}) {
    server_.on("/here", redirect(other_.url("/there"), status));
    const BodyReply reply = post(server_.url("/here"), "some bytes", {{"X-Secret", "s"}});
    EXPECT_EQ(reply.error, refused("127.0.0.1")) << status << describe(reply.error);
    EXPECT_EQ(reply.response, std::nullopt) << status;
    EXPECT_EQ(reply.body, "") << status;
    server_.on("/here", redirect(onOtherName, status));
    EXPECT_EQ(post(server_.url("/here"), "some bytes").error, refused("localhost")) << status;
    server_.on("/here", redirect("https://127.0.0.1:" + std::to_string(server_.port()), status));
    EXPECT_EQ(post(server_.url("/here"), "some bytes").error, refused("127.0.0.1")) << status;
  }
  EXPECT_EQ(other_.connectionsAccepted(), 0u);
  EXPECT_EQ(server_.requests().size(), 15u);
}

TEST_F(HTTPClientPost, IsNotTurnedIntoAGet) {
  server_.on("/there", respond(200, "without a body"));
  for (const int status : {301, 302, 303}) {
    server_.on("/here", redirect("/there", status, "Moved."));
    const BodyReply reply = post(server_.url("/here"), "some bytes");
    EXPECT_EQ(reply.error, refused("127.0.0.1")) << status;
    EXPECT_EQ(reply.response, std::nullopt) << status;
  }
  EXPECT_EQ(methods(), (std::vector<std::string>{"POST", "POST", "POST"}));
}

TEST_F(HTTPClientPost, ARedirectToAnInvalidURLEndsIt) {
  for (const char* location : {"http://", "http://127.0.0.1:port/", "", "mailto:x"}) {
    server_.on("/here", redirect(location, 307));
    EXPECT_EQ(post(server_.url("/here"), "x").error, refused("an invalid address")) << location;
  }
}

TEST_F(HTTPClientPost, ARedirectWithoutALocationIsAResponse) {
  for (const int status : {301, 302, 303, 307, 308}) {
    server_.on("/here", respond(status, "no location"));
    const BodyReply reply = post(server_.url("/here"), "x");
    EXPECT_EQ(reply.error, std::nullopt) << status;
    EXPECT_EQ(reply.status(), status);
    EXPECT_EQ(reply.body, "no location") << status;
  }
}

TEST_F(HTTPClientPost, ARedirectToAURLWithAnInvalidPathNamesItsHost) {
  for (const char* rest : {"/a b", "/%zz", "/a|b?c", "/\x01", "?a b", "#\xFF", "\\a b"}) {
    server_.on("/here", redirect("http://other.example:81" + std::string(rest), 307));
    EXPECT_EQ(post(server_.url("/here"), "x").error, refused("other.example")) << rest;
    server_.on("/here", redirect("//me@other.example" + std::string(rest), 308));
    EXPECT_EQ(post(server_.url("/here"), "x").error, refused("other.example")) << rest;
  }
  for (const char* location : {"/a|b", "a|b", "/%zz"}) {
    server_.on("/here", redirect(location, 307));
    EXPECT_EQ(post(server_.url("/here"), "x").error, refused("127.0.0.1")) << location;
  }
  for (const char* location : {"mailto:a b", "http:a b", "http://other example/"}) {
    server_.on("/here", redirect(location, 307));
    EXPECT_EQ(post(server_.url("/here"), "x").error, refused("an invalid address")) << location;
  }
}

TEST_F(HTTPClientPost, IsRedirectedTwentyTimesAtMost) {
  server_.on("/loop", redirect("/loop", 307));
  const BodyReply reply = post(server_.url("/loop"), "x");
  EXPECT_EQ(reply.error, refused("127.0.0.1"));
  EXPECT_EQ(reply.response, std::nullopt);
  EXPECT_EQ(server_.requests().size(), 21u);
}

TEST_F(HTTPClientPost, UsesANewConnection) {
  server_.onAnyOther(respond(200, "x"));
  get(server_.url("/file"));
  post(server_.url("/form"), "first");
  post(server_.url("/form"), "second");
  get(server_.url("/file"));
  std::vector<int> connections;
  for (const LoopbackRequest& sent : server_.requests()) connections.push_back(sent.connection);
  EXPECT_EQ(connections, (std::vector<int>{1, 2, 3, 1}));
  EXPECT_TRUE(eventually([&] { return server_.openConnections() == 1; })) << "one is kept, for GET";
}

TEST_F(HTTPClientPost, IsLostAndNotSentAgainWhenItsConnectionBreaks) {
  server_.on("/file", respond(200, "x"));
  const std::vector<LoopbackHandler> breaks = {hangUp(), reset(), hangUp("HTTP/1.1 200"),
                                               cutOff("0123456789", 4)};
  for (std::size_t i = 0; i < breaks.size(); ++i) {
    const std::string path = "/form/" + std::to_string(i);
    server_.on(path, inTurn({breaks[i], respond(200, "taken")}));
    get(server_.url("/file"));  // leaves a connection that could be used
    EXPECT_EQ(post(server_.url(path), "some bytes").error, connectionLost()) << i;
  }
  EXPECT_EQ(server_.requests().size(), 2 * breaks.size());
}

TEST_F(HTTPClientPost, IsLostWhenTheServerResetsTheConnectionInsideTheBody) {
  server_.onHead("/form", [](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.read(1000);
    connection.reset();
  });
  EXPECT_EQ(post(server_.url("/form"), std::string(kLargeBody, 'x')).error, connectionLost());
  EXPECT_EQ(server_.requests().size(), 1u);
}

TEST_F(HTTPClientPost, AResponseBeforeTheEndOfTheBodyIsReadAndMarked) {
  for (const int status : {200, 413}) {
    server_.onHead("/early", respondAtOnce(status, "a response"));
    server_.on("/late", respond(status, "a response", {{"Connection", "close"}}));
    for (const std::string path : {"/early", "/late"}) {
      const BodyReply reply = post(server_.url(path), std::string(kLargeBody, 'x'));
      EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
      EXPECT_EQ(reply.status(), status);
      EXPECT_EQ(reply.body, "a response");
      EXPECT_EQ(reply.response->cutRequestShort, path == "/early") << status;
    }
  }
}

TEST_F(HTTPClientPost, IsNotCutShortByAResponseToTheWhole) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kLargeBody}) {
    for (const int status : {200, 302, 404, 500}) {
      server_.on("/form", respond(status, "x"));
      EXPECT_FALSE(post(server_.url("/form"), std::string(size, 'x')).response->cutRequestShort)
          << size << ' ' << status;
    }
  }
}

}  // namespace

}  // namespace tolvane
