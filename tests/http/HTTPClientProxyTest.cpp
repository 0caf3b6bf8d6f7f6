// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

using testing::Contains;

class HTTPClientProxy : public HTTPClientFixture {};

TEST_F(HTTPClientProxy, AnHTTPRequestIsSentToTheProxy) {
  server_.onAnyOther(respond(200, "from the proxy"));
  setEnvironment("http_proxy", server_.url(""));
  setEnvironment("no_proxy", "127.0.0.1");
  EXPECT_EQ(get("http://repository.example/Packages").body, "from the proxy");
  EXPECT_EQ(server_.targets().back(), "http://repository.example/Packages");
  EXPECT_EQ(get(server_.url("/direct")).body, "from the proxy");
  EXPECT_EQ(server_.targets().back(), "/direct");
}

TEST_F(HTTPClientProxy, AnHTTPSProxyIsAskedForATunnel) {
  setEnvironment("https_proxy", server_.url(""));
  server_.onAnyOther(respond(403, "no tunnels here"));
  const BodyReply reply = get("https://repo.example/Packages");
  EXPECT_TRUE(reply.error);
  EXPECT_EQ(reply.response, std::nullopt) << "the response of the proxy is not the server's";
  EXPECT_THAT(server_.targets(), Contains("repo.example:443"));
}

TEST_F(HTTPClientProxy, AHostInNoProxyGetsTheRequestItself) {
  setEnvironment("https_proxy", server_.url(""));
  setEnvironment("http_proxy", server_.url(""));
  setEnvironment("no_proxy", "127.0.0.1");
  LoopbackServer other;
  other.on("/file", respond(200, "bytes"));
  EXPECT_EQ(get(other.url("/file")).body, "bytes");
  EXPECT_TRUE(server_.requests().empty());
}

}  // namespace

}  // namespace tolvane
