// SPDX-License-Identifier: MIT
#include <atomic>
#include <gmock/gmock.h>
#include <mutex>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using testing::ElementsAre;

class HTTPOptionsTest : public HTTPClientFixture {
 protected:
  static std::string originOf(const LoopbackServer& server) {
    return URL::parse(server.url("/"))->origin();
  }
};

TEST_F(HTTPOptionsTest, TheUserAgentIsTheProgramsUnlessOneIsNamed) {
  server_.onAnyOther(respond(200, ""));
  get(server_.url("/"));
  get(server_.url("/"), {.userAgent = "Other/1.0 (x)"});
  EXPECT_EQ(server_.requests()[0].header("User-Agent"), "Tolvane/" TOLVANE_VERSION);
  EXPECT_EQ(server_.requests()[1].header("User-Agent"), "Other/1.0 (x)");
}

TEST_F(HTTPOptionsTest, HeaderFieldsAreSentToTheirOriginOnly) {
  LoopbackServer other;
  other.onAnyOther(respond(200, "other"));
  server_.on("/there", redirect(other.url("/x")));
  server_.on("/here", redirect("/y"));
  server_.on("/y", respond(200, "own"));
  const HTTPOptions options{.headersOrigin = originOf(server_), .headers = {{"X-Key", "secret"}}};
  EXPECT_EQ(get(server_.url("/there"), options).body, "other");
  EXPECT_EQ(get(server_.url("/here"), options).body, "own");
  EXPECT_EQ(get(other.url("/z"), options).body, "other");
  for (const LoopbackRequest& request : server_.requests()) {
    EXPECT_EQ(request.header("X-Key"), "secret") << request.target;
  }
  for (const LoopbackRequest& request : other.requests()) {
    EXPECT_FALSE(request.hasHeader("X-Key")) << request.target;
  }
}

TEST_F(HTTPOptionsTest, AFieldReplacesThatOfTheRequest) {
  server_.onAnyOther(respond(200, ""));
  const auto client =
      this->client({.headersOrigin = originOf(server_),
                    .headers = {{"cache-control", "max-age=0"}, {"user-agent", "Mine"}}});
  await(startSend(*client, request(server_.url("/"), {{"Cache-Control", "no-cache"}})));
  const LoopbackRequest sent = server_.requests().back();
  EXPECT_EQ(sent.header("Cache-Control"), "max-age=0");
  EXPECT_EQ(sent.head.find("no-cache"), std::string::npos);
  EXPECT_EQ(sent.header("User-Agent"), "Mine");
}

TEST_F(HTTPOptionsTest, ARefusalEndsWaitingRequestsUnsent) {
  const Gate gate;
  server_.onAnyOther(heldBy(gate, respond(200, "x")));
  std::atomic<bool> refusing = false;
  const Error reason = urlError(-1, "not tried: the disk is full");
  const auto client = this->client({.maximumConnectionsPerHost = 1, .refusal = [&] {
                                      return refusing ? std::optional<Error>(reason) : std::nullopt;
                                    }});
  auto started = startSend(*client, request(server_.url("/1")));
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  refusing = true;
  auto body = startSend(*client, request(server_.url("/2")));
  auto file = startDownload(*client, request(server_.url("/3")), folder_.path());
  Gate(gate).open();
  EXPECT_EQ(await(std::move(started)).body, "x");
  EXPECT_EQ(await(std::move(body)).error, reason);
  EXPECT_EQ(await(std::move(file)).error, reason);
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(HTTPOptionsTest, ManyRefusalsDoNotStopLaterDownloads) {
  std::atomic<bool> refusing = true;
  const auto client = this->client({.refusal = [&]() -> std::optional<Error> {
    if (refusing) return urlError(-1, "no");
    return std::nullopt;
  }});
  server_.onAnyOther(respond(200, "x"));
  std::vector<std::future<FileReply>> replies;
  for (int i = 0; i < 1000; ++i) {
    replies.push_back(startDownload(*client, request(server_.url("/f")), folder_.path()));
  }
  for (auto& reply : replies) EXPECT_TRUE(await(std::move(reply)).error);
  refusing = false;
  EXPECT_EQ(await(startDownload(*client, request(server_.url("/f")), folder_.path())).error,
            std::nullopt);
}

TEST_F(HTTPOptionsTest, OnInsecureRedirectIsCalledFromHTTPSToHTTPOnly) {
  if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  server_.on("/plain", redirect("/end"));
  server_.on("/end", respond(200, "x"));
  NginxServer nginx("location /down { return 302 " + server_.url("/plain") + "; }");
  ASSERT_TRUE(nginx.isRunning());
  setEnvironment("SSL_CERT_FILE", nginx.certificatePath());
  std::mutex mutex;
  std::vector<std::string> reports;
  const BodyReply reply =
      get(nginx.secureURL("/down"), {.onInsecureRedirect = [&](const URL& from, const URL& to) {
            const std::lock_guard lock(mutex);
            reports.push_back(from.absoluteString() + " " + to.absoluteString());
          }});
  EXPECT_EQ(reply.body, "x") << describe(reply.error);
  const std::lock_guard lock(mutex);
  EXPECT_THAT(reports, ElementsAre(nginx.secureURL("/down") + " " + server_.url("/plain")));
}

}  // namespace

}  // namespace tolvane
