// SPDX-License-Identifier: MIT
// What transfers take from the environment, and whom they trust.
#include <cstdlib>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using testing::Contains;

class TransferEnvironment : public HTTPClientFixture {
 protected:
  // Until the test's end.
  void set(const char* name, const std::string& value) {
    setenv(name, value.c_str(), 1);
    names_.push_back(name);
  }

  void TearDown() override {
    transport_.reset();  // it reads the environment
    for (const char* name : names_) unsetenv(name);
  }

 private:
  std::vector<const char*> names_;
};

TEST_F(TransferEnvironment, AProxyForHTTPSIsAskedForATunnel) {
  set("https_proxy", server_.url(""));
  server_.onAnyOther(respond(403, "no tunnels here"));
  const DataReply reply = get("https://repo.example/Packages");
  EXPECT_TRUE(reply.error);
  EXPECT_EQ(reply.response, std::nullopt) << "what the proxy says is no answer of the server";
  EXPECT_THAT(server_.targets(), Contains("repo.example:443"));
}

TEST_F(TransferEnvironment, AHostWithoutProxyIsAskedItself) {
  set("https_proxy", server_.url(""));
  set("http_proxy", server_.url(""));
  set("no_proxy", "127.0.0.1");
  LoopbackServer other;
  other.on("/file", respond(200, "bytes"));
  EXPECT_EQ(get(other.url("/file")).body, "bytes");
  EXPECT_TRUE(server_.requests().empty());
}

class TransferTrust : public TransferEnvironment {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
    nginx_ = std::make_unique<NginxServer>();
    ASSERT_TRUE(nginx_->isRunning());
    nginx_->write("file", "bytes");
  }

  std::unique_ptr<NginxServer> nginx_;
};

TEST_F(TransferTrust, ACertificateInTheFolderOfTheEnvironmentIsTrusted) {
  folder_.write("certificates/own.pem", "");
  const std::string certificates = folder_.path("certificates");
  const std::string command = "cp '" + nginx_->certificatePath() + "' '" + certificates +
                              "/own.pem' && openssl rehash '" + certificates + "' 2>/dev/null";
  ASSERT_EQ(std::system(command.c_str()), 0);
  set("SSL_CERT_DIR", certificates);
  const DataReply reply = get(nginx_->secureURL("/file"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "bytes");
}

TEST_F(TransferTrust, AFolderWithoutTheCertificateDoesNotHelp) {
  set("SSL_CERT_DIR", folder_.path());
  EXPECT_EQ(get(nginx_->secureURL("/file")).error,
            urlError(-1202, "The certificate for this server is invalid."));
}

TEST_F(TransferTrust, AServerThatSpeaksNoTLSGivesNoSecureConnection) {
  std::string url = nginx_->url("/file");
  url.replace(0, 4, "https");
  EXPECT_EQ(
      get(url).error,
      urlError(-1200,
               "An SSL error has occurred and a secure connection to the server cannot be made."));
}

}  // namespace

}  // namespace tolvane
