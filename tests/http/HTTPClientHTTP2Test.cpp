// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Trusts the certificate of its server only.
class HTTPClientHTTP2 : public HTTPClientFixture {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  }

  void serve(const std::string& extra = "") {
    nginx_ = std::make_unique<NginxServer>(extra);
    ASSERT_TRUE(nginx_->isRunning());
    setEnvironment("SSL_CERT_FILE", nginx_->certificatePath());
  }

  static std::string contentOf(int number) {
    return "file " + std::to_string(number) + "\n" + std::string(number % 1500, '.');
  }

  std::unique_ptr<NginxServer> nginx_;
};

// The client's ends of the established connections to a port of 127.0.0.1. The kernel lists them
// one after another, so the list may hold one that ended and one that began meanwhile.
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

// Those that certainly existed at the same time: between two readings.
std::size_t connectionsAtOnce(int port) {
  const std::set<std::string> before = connectionsTo(port);
  const std::set<std::string> after = connectionsTo(port);
  return std::count_if(before.begin(), before.end(),
                       [&](const auto& end) { return after.count(end) > 0; });
}

// How one request ended.
struct Ending {
  std::atomic<int> calls = 0;
  int status = 0;
  std::string body;
  std::optional<Error> error;
};

TEST_F(HTTPClientHTTP2, IsUsedOverTLS) {
  serve();
  nginx_->write("file", "bytes");
  const BodyReply reply = get(nginx_->secureURL("/file"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "bytes");
  EXPECT_EQ(get(nginx_->url("/file")).body, "bytes");
  nginx_->stop();
  ASSERT_EQ(nginx_->accesses().size(), 2u);
  EXPECT_EQ(nginx_->accesses()[0].protocol, "HTTP/2.0");
  EXPECT_EQ(nginx_->accesses()[1].protocol, "HTTP/1.1");
}

TEST_F(HTTPClientHTTP2, RequestsThatAnEndingConnectionLeftUnprocessedAreSentOnAnother) {
  serve("keepalive_requests 7;");
  nginx_->write("file", "bytes");
  const auto client = this->client();
  std::vector<std::future<BodyReply>> replies;
  for (int i = 0; i < 1000; ++i) {
    replies.push_back(startSend(*client, request(nginx_->secureURL("/file"))));
  }
  for (auto& future : replies) {
    const BodyReply reply = await(std::move(future));
    EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
    EXPECT_EQ(reply.body, "bytes");
  }
  nginx_->stop();
  EXPECT_EQ(nginx_->accesses().size(), replies.size());
}

// nginx ends each connection after 1,000 requests, and does not answer those on their way to it.
TEST_F(HTTPClientHTTP2, FiveThousandFilesAreDownloadedOnceEachAndNoneIsLost) {
  constexpr int kFiles = 5000;
  serve();
  for (int i = 0; i < kFiles; ++i) nginx_->write("f" + std::to_string(i), contentOf(i));
  const auto client = this->client();
  std::promise<void> done;
  int called = 0;  // used on the callback queue, as is the next
  int failed = 0;
  for (int i = 0; i < kFiles; ++i) {
    const std::string name = "f" + std::to_string(i);
    client->download(request(nginx_->secureURL("/" + name)), folder_.path(),
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

// Each connection ends after so few requests that a hundred are left unprocessed at once and need
// another one.
TEST_F(HTTPClientHTTP2, ConnectionsAreNeverMoreThanTheLimitThoughTheServerEndsThem) {
  if (!std::ifstream("/proc/net/tcp")) GTEST_SKIP() << "there is no /proc";
  constexpr std::size_t kTransfers = 2000;
  constexpr int kLimit = 3;
  serve("keepalive_requests 150;");
  nginx_->write("file", std::string(3000, 'x'));
  const int port = std::stoi(std::string(URL::parse(nginx_->secureURL("/"))->port()));

  HTTPOptions options;
  options.maximumConnectionsPerHost = kLimit;
  const auto client = this->client(options);
  std::atomic<std::size_t> ended = 0;
  std::atomic<int> failed = 0;
  for (std::size_t i = 0; i < kTransfers; ++i) {
    client->send(request(nginx_->secureURL("/file")), [&](auto body, auto, auto error) {
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

TEST_F(HTTPClientHTTP2, StreamsThatAreResetOrStallLoseNoOtherAndEndOnce) {
  constexpr std::size_t kTransfers = 2000;
  const std::string half =
      responseHead(200, {{"Content-Length", "20000"}}) + std::string(10000, 'h');
  server_.on("/dying", reset(half));
  server_.on("/stalling", stall(half));
  server_.on("/silent", stall());
  server_.on("/closing", hangUp());
  // nginx may notice only by its own timeout that the server behind it has closed.
  serve(
      "keepalive_requests 300; proxy_buffering off; proxy_read_timeout 2s;"
      " location /closed { return 444; }"
      " location ~ ^/(dying|stalling|silent|closing)$ { proxy_pass " +
      server_.url("") + "; }");
  nginx_->write("small", "small");
  nginx_->write("large", std::string(50000, 'l'));

  const std::vector<std::string> paths{"small", "large", "dying",   "small",    "closed",
                                       "small", "large", "closing", "stalling", "small",
                                       "small", "large", "dying",   "small",    "closed",
                                       "small", "large", "closing", "silent",   "small"};
  HTTPOptions patient, impatient;
  patient.timeoutIntervalForRequest = seconds(60);
  impatient.timeoutIntervalForRequest = milliseconds(200);
  const auto patientClient = client(patient);
  const auto impatientClient = client(impatient);
  std::vector<Ending> endings(kTransfers);
  auto token = std::make_shared<int>();
  for (std::size_t i = 0; i < kTransfers; ++i) {
    const std::string& path = paths[i % paths.size()];
    const bool isBad = path == "stalling" || path == "silent";
    (isBad ? impatientClient : patientClient)
        ->send(request(nginx_->secureURL("/" + path)),
               [token, &ending = endings[i]](auto body, auto response, auto error) {
                 ending.status = statusOf(response);
                 ending.body = std::move(body);
                 ending.error = std::move(error);
                 ++ending.calls;
               });
  }
  // A completion that has been destroyed cannot be called again.
  const auto end = std::chrono::steady_clock::now() + seconds(200);
  while (token.use_count() > 1 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  ASSERT_EQ(token.use_count(), 1) << "a request hangs";

  for (std::size_t i = 0; i < kTransfers; ++i) {
    const std::string& path = paths[i % paths.size()];
    const Ending& ending = endings[i];
    ASSERT_EQ(ending.calls, 1) << path;
    if (path == "small" || path == "large") {
      EXPECT_EQ(ending.error, std::nullopt) << path << ' ' << describe(ending.error);
      EXPECT_EQ(ending.status, 200);
      EXPECT_EQ(ending.body, path == "small" ? "small" : std::string(50000, 'l'));
    } else if (path == "closing") {
      EXPECT_EQ(ending.status, 502);
    } else if (path == "stalling" || path == "silent") {
      EXPECT_EQ(ending.error, timedOut());
    } else {
      EXPECT_EQ(ending.error, connectionLost()) << path;
    }
  }
}

}  // namespace

}  // namespace tolvane
