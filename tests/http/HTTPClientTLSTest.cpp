// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <set>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

// The server's certificate is trusted by those tests alone that call trust().
class HTTPClientTLS : public HTTPClientFixture {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
    nginx_ = std::make_unique<NginxServer>();
    ASSERT_TRUE(nginx_->isRunning());
    nginx_->write("file", "bytes");
  }

  void trust() { setEnvironment("SSL_CERT_FILE", nginx_->certificatePath()); }

  std::unique_ptr<NginxServer> nginx_;
};

TEST_F(HTTPClientTLS, AnUntrustedCertificateIsAnError) {
  trust();
  const NginxServer other;
  const BodyReply reply = get(other.secureURL("/file"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.error->code, kURLErrorServerCertificateUntrusted);
  EXPECT_EQ(reply.response, std::nullopt);
  EXPECT_TRUE(other.accesses().empty());
}

TEST_F(HTTPClientTLS, AServerWithoutTLSIsAnError) {
  std::string url = nginx_->url("/file");
  url.replace(0, 4, "https");
  EXPECT_EQ(
      get(url).error,
      urlError(-1200,
               "An SSL error has occurred and a secure connection to the server cannot be made."));
}

TEST_F(HTTPClientTLS, ACertificateInTheFolderOfSSLCertDirIsTrusted) {
  folder_.write("certificates/own.pem", "");
  const std::string certificates = folder_.path("certificates");
  const std::string command = "cp '" + nginx_->certificatePath() + "' '" + certificates +
                              "/own.pem' && openssl rehash '" + certificates + "' 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  setEnvironment("SSL_CERT_DIR", certificates);
  const BodyReply reply = get(nginx_->secureURL("/file"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "bytes");
}

TEST_F(HTTPClientTLS, ACertificateOutsideTheFolderOfSSLCertDirIsNotTrusted) {
  setEnvironment("SSL_CERT_DIR", folder_.path());
  EXPECT_EQ(get(nginx_->secureURL("/file")).error,
            urlError(-1202, "The certificate for this server is invalid."));
}

TEST_F(HTTPClientTLS, ConnectionsAreReusedByNewClients) {
  trust();
  for (int i = 0; i < 50; ++i) get(nginx_->secureURL("/candidate"));
  nginx_->stop();
  std::set<long> connections;
  for (const auto& access : nginx_->accesses()) connections.insert(access.connection);
  EXPECT_EQ(nginx_->accesses().size(), 50u);
  EXPECT_EQ(connections.size(), 1u);
}

}  // namespace

}  // namespace tolvane
