// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <map>
#include <set>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

// Trusts what the server shows, and nobody else.
class HTTPClientNginx : public HTTPClientFixture {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
    nginx_ = std::make_unique<NginxServer>();
    ASSERT_TRUE(nginx_->isRunning());
    setenv("SSL_CERT_FILE", nginx_->certificatePath().c_str(), 1);
  }

  void TearDown() override {
    transport_.reset();  // it reads the environment
    unsetenv("SSL_CERT_FILE");
  }

  static std::string contentOf(int number) {
    return "file " + std::to_string(number) + "\n" + std::string(number % 1500, '.');
  }

  std::unique_ptr<NginxServer> nginx_;
};

TEST_F(HTTPClientNginx, HTTP2IsSpokenOverTLS) {
  nginx_->write("file", "bytes");
  const DataReply reply = get(nginx_->secureURL("/file"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "bytes");
  EXPECT_EQ(get(nginx_->url("/file")).body, "bytes");
  nginx_->stop();
  ASSERT_EQ(nginx_->accesses().size(), 2u);
  EXPECT_EQ(nginx_->accesses()[0].protocol, "HTTP/2.0");
  EXPECT_EQ(nginx_->accesses()[1].protocol, "HTTP/1.1");
}

TEST_F(HTTPClientNginx, AnUntrustedCertificateIsAnError) {
  const NginxServer stranger;
  const DataReply reply = get(stranger.secureURL("/file"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.error->code, kURLErrorServerCertificateUntrusted);
  EXPECT_EQ(reply.response, std::nullopt);
  EXPECT_TRUE(stranger.accesses().empty());
}

TEST_F(HTTPClientNginx, AServerWithoutTLSIsAnError) {
  std::string url = nginx_->url("/file");
  url.replace(0, 4, "https");
  const DataReply reply = get(url);
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.error->code, kURLErrorSecureConnectionFailed);
}

TEST_F(HTTPClientNginx, ConnectionsOverTLSAreUsedAgainByFreshSessions) {
  for (int i = 0; i < 50; ++i) get(nginx_->secureURL("/candidate"));
  nginx_->stop();
  std::set<long> connections;
  for (const auto& access : nginx_->accesses()) connections.insert(access.connection);
  EXPECT_EQ(nginx_->accesses().size(), 50u);
  EXPECT_EQ(connections.size(), 1u);
}

TEST_F(HTTPClientNginx, RequestsThatAnEndingConnectionLeftUnprocessedAreSentOnAnother) {
  nginx_ = std::make_unique<NginxServer>("keepalive_requests 7;");
  setenv("SSL_CERT_FILE", nginx_->certificatePath().c_str(), 1);
  nginx_->write("file", "bytes");
  const auto session = this->session();
  std::vector<std::future<DataReply>> replies;
  for (int i = 0; i < 1000; ++i) {
    replies.push_back(startData(*session, request(nginx_->secureURL("/file"))));
  }
  for (auto& future : replies) {
    const DataReply reply = await(std::move(future));
    EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
    EXPECT_EQ(reply.body, "bytes");
  }
  nginx_->stop();
  EXPECT_EQ(nginx_->accesses().size(), replies.size());
}

// nginx ends each connection after 1,000 requests, and with it those that were on their way.
TEST_F(HTTPClientNginx, FiveThousandFilesAreFetchedOnceEachAndNoneIsLost) {
  constexpr int kFiles = 5000;
  for (int i = 0; i < kFiles; ++i) nginx_->write("f" + std::to_string(i), contentOf(i));
  const auto session = this->session();
  std::promise<void> done;
  int called = 0;  // on the session's queue, as is what follows
  int failed = 0;
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "f" + std::to_string(i);
    session->download(request(nginx_->secureURL("/" + name)), folder_.path(),
                      [&, name](TemporaryFile file, std::optional<HTTPResponse> response,
                                std::optional<Error> error) {
                        if (!error && response->statusCode == 200)
                          error = file.moveTo(folder_.path(name));
                        if (error) ++failed;
                        if (++called == kFiles) done.set_value();
                      });
  }
  ASSERT_EQ(done.get_future().wait_for(std::chrono::seconds(240)), std::future_status::ready);
  EXPECT_EQ(failed, 0);
  for (int i = 0; i < kFiles; ++i) {
    EXPECT_TRUE(folder_.read("f" + std::to_string(i)) == contentOf(i)) << i;
  }
  nginx_->stop();
  std::map<std::string, int> fetches;
  std::set<long> connections;
  for (const auto& access : nginx_->accesses()) {
    EXPECT_EQ(access.protocol, "HTTP/2.0");
    EXPECT_EQ(access.status, 200);
    ++fetches[access.target];
    connections.insert(access.connection);
  }
  EXPECT_EQ(fetches.size(), std::size_t(kFiles));
  for (const auto& [target, count] : fetches) EXPECT_EQ(count, 1) << target;
  EXPECT_GE(connections.size(), 5u);
}

}  // namespace

}  // namespace tolvane
