// SPDX-License-Identifier: MIT
// What a configuration adds to requests and how far it lets their answers go.
#include <atomic>
#include <gmock/gmock.h>
#include <mutex>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using testing::ElementsAre;

class HTTPClientSettings : public HTTPClientFixture {
 protected:
  static std::string originOf(const LoopbackServer& server) {
    return URL::parse(server.url("/"))->origin();
  }

  const Error tooLong_ = urlError(-1103, "resource exceeds maximum size");
};

// Endless, in pieces of 64 KiB.
void sendForEver(const LoopbackRequest&, LoopbackConnection& connection) {
  connection.write(responseHead(200, {}));
  const std::string piece(std::size_t{64} << 10, 'x');
  while (connection.write(piece)) {
  }
}

TEST_F(HTTPClientSettings, ADownloadEndsAtTheBoundOfItsRequest) {
  server_.onAnyOther(sendForEver);
  HTTPRequest bounded = request(server_.url("/file"));
  bounded.maximumFileSize = 1000000;
  const DownloadReply reply = await(startDownload(*session(), std::move(bounded), folder_.path()));
  EXPECT_EQ(reply.error, tooLong_);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_FALSE(reply.file.isOpen());
  EXPECT_THAT(folder_.names(), ElementsAre());
}

TEST_F(HTTPClientSettings, ADownloadWithoutABoundOfItsOwnEndsAtTheConfigurations) {
  server_.onAnyOther(sendForEver);
  EXPECT_EQ(download(server_.url("/file"), {.maximumFileSize = 1000000}).error, tooLong_);
}

TEST_F(HTTPClientSettings, ADownloadMayReachItsBound) {
  server_.onAnyOther(respond(200, "123456789"));
  DownloadReply reply = download(server_.url("/file"), {.maximumFileSize = 9});
  EXPECT_EQ(bytesOf(reply), "123456789");
  EXPECT_EQ(download(server_.url("/file"), {.maximumFileSize = 8}).error, tooLong_);
}

TEST_F(HTTPClientSettings, TheUserAgentIsTheProgramsUnlessOneIsNamed) {
  server_.onAnyOther(respond(200, ""));
  get(server_.url("/"));
  get(server_.url("/"), {.userAgent = "Other/1.0 (x)"});
  EXPECT_EQ(server_.requests()[0].header("User-Agent"), "Tolvane/" TOLVANE_VERSION);
  EXPECT_EQ(server_.requests()[1].header("User-Agent"), "Other/1.0 (x)");
}

TEST_F(HTTPClientSettings, HeaderFieldsReachTheirServerOnly) {
  LoopbackServer other;
  other.onAnyOther(respond(200, "other"));
  server_.on("/there", redirect(other.url("/x")));
  server_.on("/here", redirect("/y"));
  server_.on("/y", respond(200, "own"));
  const HTTPOptions configuration{.headersOrigin = originOf(server_),
                                  .headers = {{"X-Key", "secret"}}};
  EXPECT_EQ(get(server_.url("/there"), configuration).body, "other");
  EXPECT_EQ(get(server_.url("/here"), configuration).body, "own");
  EXPECT_EQ(get(other.url("/z"), configuration).body, "other");
  for (const LoopbackRequest& request : server_.requests()) {
    EXPECT_EQ(request.header("X-Key"), "secret") << request.target;
  }
  for (const LoopbackRequest& request : other.requests()) {
    EXPECT_FALSE(request.hasHeader("X-Key")) << request.target;
  }
}

TEST_F(HTTPClientSettings, AFieldTakesThePlaceOfTheRequestsOwn) {
  server_.onAnyOther(respond(200, ""));
  const auto session =
      this->session({.headersOrigin = originOf(server_),
                     .headers = {{"cache-control", "max-age=0"}, {"user-agent", "Mine"}}});
  await(startData(*session, request(server_.url("/"), {{"Cache-Control", "no-cache"}})));
  const LoopbackRequest sent = server_.requests().back();
  EXPECT_EQ(sent.header("Cache-Control"), "max-age=0");
  EXPECT_EQ(sent.head.find("no-cache"), std::string::npos);
  EXPECT_EQ(sent.header("User-Agent"), "Mine");
}

TEST_F(HTTPClientSettings, AResponseHasItsHeaderFieldsAndTheAddressThatAnswered) {
  server_.on("/old", redirect("/new", 301));
  server_.on("/new", respond(200, "x", {{"ETag", "\"1\""}, {"Last-Modified", "yesterday"}}));
  const DownloadReply reply = download(server_.url("/old"));
  ASSERT_TRUE(reply.response);
  EXPECT_EQ(absoluteText(reply.response->url), server_.url("/new"));
  using Field = std::pair<std::string, std::string>;
  EXPECT_THAT(reply.response->headers,
              testing::IsSupersetOf({Field("ETag", "\"1\""), Field("Last-Modified", "yesterday")}));
}

TEST_F(HTTPClientSettings, ARefusalEndsWhatHasNotStartedWithoutARequest) {
  const Gate gate;
  server_.onAnyOther(heldBy(gate, respond(200, "x")));
  std::atomic<bool> refusing = false;
  const Error reason = urlError(-1, "not tried: the disk is full");
  const auto session =
      this->session({.maximumConnectionsPerHost = 1, .refusal = [&] {
                       return refusing ? std::optional<Error>(reason) : std::nullopt;
                     }});
  auto started = startData(*session, request(server_.url("/1")));
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  refusing = true;
  auto data = startData(*session, request(server_.url("/2")));
  auto file = startDownload(*session, request(server_.url("/3")), folder_.path());
  Gate(gate).open();
  EXPECT_EQ(await(std::move(started)).body, "x");
  EXPECT_EQ(await(std::move(data)).error, reason);
  EXPECT_EQ(await(std::move(file)).error, reason);
  EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(HTTPClientSettings, ManyRefusalsLeaveRoomForLaterDownloads) {
  std::atomic<bool> refusing = true;
  const auto session = this->session({.refusal = [&]() -> std::optional<Error> {
    if (refusing) return urlError(-1, "no");
    return std::nullopt;
  }});
  server_.onAnyOther(respond(200, "x"));
  std::vector<std::future<DownloadReply>> replies;
  for (int i = 0; i < 1000; ++i) {
    replies.push_back(startDownload(*session, request(server_.url("/f")), folder_.path()));
  }
  for (auto& reply : replies) EXPECT_TRUE(await(std::move(reply)).error);
  refusing = false;
  EXPECT_EQ(await(startDownload(*session, request(server_.url("/f")), folder_.path())).error,
            std::nullopt);
}

TEST_F(HTTPClientSettings, OnlyARedirectFromHTTPSToHTTPIsReported) {
  if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  server_.on("/plain", redirect("/end"));
  server_.on("/end", respond(200, "x"));
  NginxServer nginx("location /down { return 302 " + server_.url("/plain") + "; }");
  ASSERT_TRUE(nginx.isRunning());
  setenv("SSL_CERT_FILE", nginx.certificatePath().c_str(), 1);
  std::mutex mutex;
  std::vector<std::string> reports;
  const DataReply reply =
      get(nginx.secureURL("/down"), {.onInsecureRedirect = [&](const URL& from, const URL& to) {
            const std::lock_guard lock(mutex);
            reports.push_back(from.absoluteString() + " " + to.absoluteString());
          }});
  EXPECT_EQ(reply.body, "x") << describe(reply.error);
  const std::lock_guard lock(mutex);
  EXPECT_THAT(reports, ElementsAre(nginx.secureURL("/down") + " " + server_.url("/plain")));
  transport_.reset();
  unsetenv("SSL_CERT_FILE");
}

TEST_F(HTTPClientSettings, AnErrorSaysWhatTheLibrarySaidOfIt) {
  const DataReply reply = get("http://127.0.0.1:1/");
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->description, "Could not connect to the server.");
  EXPECT_NE(reply.error->detail, "");
  EXPECT_NE(reply.error->detail, reply.error->description);
}

}  // namespace

}  // namespace tolvane
