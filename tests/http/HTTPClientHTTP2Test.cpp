// SPDX-License-Identifier: MIT
// HTTP/2 against a server that ends connections, resets streams and lets them
// starve.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Trusts what the server shows, and nobody else.
class HTTP2 : public HTTPClientFixture {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  }

  void TearDown() override {
    transport_.reset();  // it reads the environment
    unsetenv("SSL_CERT_FILE");
  }

  void serve(const std::string& extra) {
    nginx_ = std::make_unique<NginxServer>(extra);
    ASSERT_TRUE(nginx_->isRunning());
    setenv("SSL_CERT_FILE", nginx_->certificatePath().c_str(), 1);
  }

  std::unique_ptr<NginxServer> nginx_;
};

// The client's ends of the established connections to a port of 127.0.0.1. The
// kernel lists them one after another, so one that ended and one that began
// while it did may stand here side by side.
std::set<std::string> connectionsTo(int port) {
  char remote[32];
  std::snprintf(remote, sizeof remote, "0100007F:%04X", static_cast<unsigned>(port));
  std::ifstream table("/proc/net/tcp");
  std::set<std::string> ends;
  for (std::string line; std::getline(table, line);) {
    std::istringstream words(line);
    std::string number, local, other, state;
    words >> number >> local >> other >> state;
    if (other == remote && state == "01") ends.insert(local);
  }
  return ends;
}

// Those that stood together for certain: at the moment between two readings.
std::size_t connectionsAtOnce(int port) {
  const std::set<std::string> before = connectionsTo(port);
  const std::set<std::string> after = connectionsTo(port);
  return std::count_if(before.begin(), before.end(),
                       [&](const auto& end) { return after.count(end) > 0; });
}

// What came of one transfer.
struct Fate {
  std::atomic<int> calls = 0;
  int status = 0;
  std::string body;
  std::optional<Error> error;
};

// Each connection ends after so few requests that a hundred come back at once
// and want another.
TEST_F(HTTP2, ConnectionsAreNeverMoreThanTheLimitThoughTheServerEndsThem) {
  if (!std::ifstream("/proc/net/tcp")) GTEST_SKIP() << "there is no /proc";
  constexpr std::size_t kTransfers = 2000;
  constexpr int kLimit = 3;
  serve("keepalive_requests 150;");
  nginx_->write("file", std::string(3000, 'x'));
  const int port = std::stoi(std::string(URL::parse(nginx_->secureURL("/"))->port()));

  HTTPOptions configuration;
  configuration.maximumConnectionsPerHost = kLimit;
  const auto session = this->session(configuration);
  std::atomic<std::size_t> ended = 0;
  std::atomic<int> failed = 0;
  for (std::size_t i = 0; i < kTransfers; ++i) {
    session->send(request(nginx_->secureURL("/file")), [&](auto body, auto, auto error) {
      if (error || body.size() != 3000) ++failed;
      ++ended;
    });
  }
  std::size_t most = 0;
  EXPECT_TRUE(eventually([&] {
    most = std::max(most, connectionsAtOnce(port));
    return ended == kTransfers;
  }));
  EXPECT_EQ(failed, 0);
  EXPECT_GE(most, 1U);
  EXPECT_LE(most, std::size_t{kLimit});
  nginx_->stop();
  std::set<long> connections;
  for (const auto& access : nginx_->accesses()) connections.insert(access.connection);
  EXPECT_GE(connections.size(), kTransfers / 150) << "the server ends them";
}

TEST_F(HTTP2, StreamsThatAreResetOrStarveLoseNoOtherAndEndOnce) {
  constexpr std::size_t kTransfers = 2000;
  const std::string half =
      responseHead(200, {{"Content-Length", "20000"}}) + std::string(10000, 'h');
  server_.on("/dying", reset(half));
  server_.on("/starving", stall(half));
  server_.on("/mute", stall());
  server_.on("/gone", hangUp());
  // nginx may see only by its own timeout that the server behind it is gone.
  serve(
      "keepalive_requests 300; proxy_buffering off; proxy_read_timeout 2s;"
      " location /closed { return 444; }"
      " location ~ ^/(dying|starving|mute|gone)$ { proxy_pass " +
      server_.url("") + "; }");
  nginx_->write("small", "small");
  nginx_->write("large", std::string(50000, 'l'));

  const std::vector<std::string> paths{
      "small", "large", "dying", "small", "closed", "small", "large", "gone", "starving", "small",
      "small", "large", "dying", "small", "closed", "small", "large", "gone", "mute",     "small"};
  HTTPOptions patient, impatient;
  patient.timeoutIntervalForRequest = seconds(60);
  impatient.timeoutIntervalForRequest = milliseconds(200);
  const auto goodSession = session(patient);
  const auto badSession = session(impatient);
  std::vector<Fate> fates(kTransfers);
  auto token = std::make_shared<int>();
  for (std::size_t i = 0; i < kTransfers; ++i) {
    const std::string& path = paths[i % paths.size()];
    const bool isBad = path == "starving" || path == "mute";
    (isBad ? badSession : goodSession)
        ->send(request(nginx_->secureURL("/" + path)),
               [token, &fate = fates[i]](auto body, auto response, auto error) {
                 fate.status = statusOf(response);
                 fate.body = std::move(body);
                 fate.error = std::move(error);
                 ++fate.calls;
               });
  }
  // Nobody can call a completion that nobody holds.
  const auto end = std::chrono::steady_clock::now() + seconds(200);
  while (token.use_count() > 1 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  ASSERT_EQ(token.use_count(), 1) << "a transfer hangs";

  for (std::size_t i = 0; i < kTransfers; ++i) {
    const std::string& path = paths[i % paths.size()];
    const Fate& fate = fates[i];
    ASSERT_EQ(fate.calls, 1) << path;
    if (path == "small" || path == "large") {
      EXPECT_EQ(fate.error, std::nullopt) << path << ' ' << describe(fate.error);
      EXPECT_EQ(fate.status, 200);
      EXPECT_EQ(fate.body, path == "small" ? "small" : std::string(50000, 'l'));
    } else if (path == "gone") {
      EXPECT_EQ(fate.status, 502);
    } else if (path == "starving" || path == "mute") {
      EXPECT_EQ(fate.error, timedOut());
    } else {
      EXPECT_EQ(fate.error, connectionLost()) << path;
    }
  }
}

}  // namespace

}  // namespace tolvane
