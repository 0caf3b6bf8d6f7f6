// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

// Aborts the process when the test hangs.
class Watchdog {
 public:
  explicit Watchdog(std::chrono::seconds limit)
      : thread_([this, limit] {
          if (done_.get_future().wait_for(limit) == std::future_status::ready) return;
          std::fputs("The watchdog ends a test that hangs.\n", stderr);
          std::abort();
        }) {}
  ~Watchdog() {
    done_.set_value();
    thread_.join();
  }

 private:
  std::promise<void> done_;
  std::thread thread_;
};

class CurlMultiTest : public HTTPClientFixture {
 protected:
  void SetUp() override {
    server_.on("/silent", stall());
    server_.on("/stuck",
               stall(responseHead(200, {{"Content-Length", "100000"}}) + std::string(50000, 'x')));
    server_.on("/small", respond(200, "small"));
    server_.on("/large", respond(200, std::string(300'000, 'x')));
    server_.on("/drip", drip("0123456789", milliseconds(1)));
    server_.on("/redirect", redirect("/small"));
    server_.on("/hang-up", hangUp());
  }

  // Both kinds of request to each path. Each completion holds `token`; `called` counts the calls.
  void startAll(HTTPClient& client, const std::shared_ptr<int>& token, std::atomic<int>& called) {
    for (const char* path :
         {"/small", "/silent", "/large", "/drip", "/redirect", "/stuck", "/hang-up"}) {
      client.send(request(server_.url(path)), [token, &called](auto, auto, auto) { ++called; });
      client.download(request(server_.url(path)), folder_.path(),
                      [token, &called](auto, auto, auto) { ++called; });
    }
  }
};

TEST_F(CurlMultiTest, StopDropsRequestsThatHaveNoResponse) {
  std::atomic<int> called = 0;
  auto token = std::make_shared<int>();
  const auto client = this->client();
  for (int i = 0; i < 20; ++i) {
    client->send(request(server_.url("/silent")), [token, &called](auto, auto, auto) { ++called; });
  }
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 6; }));
  multi_->stop();
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_EQ(called, 0);
}

TEST_F(CurlMultiTest, StopRemovesIncompleteFiles) {
  const auto client = this->client();
  const auto reply = startDownload(*client, request(server_.url("/stuck")), folder_.path());
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  std::this_thread::sleep_for(milliseconds(20));
  multi_->stop();
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(CurlMultiTest, RequestsAfterTheStopAreDropped) {
  auto token = std::make_shared<int>();
  const auto client = this->client();
  multi_->stop();
  client->send(request(server_.url("/small")), [token](auto, auto, auto) { FAIL(); });
  EXPECT_EQ(token.use_count(), 1);
  EXPECT_TRUE(server_.requests().empty());
}

TEST_F(CurlMultiTest, MayBeStoppedAtAnyMomentWithTransfersInFlight) {
  constexpr int kRounds = 2000;
  const Watchdog watchdog(std::chrono::seconds(240));
  std::atomic<int> called = 0;
  int started = 0;
  auto token = std::make_shared<int>();
  // The rounds end at moments spread over the time that the first response takes, and beyond it.
  std::chrono::nanoseconds toResponse{};
  for (int round = 0; round < kRounds; ++round) {
    auto multi = std::make_shared<CurlMulti>();
    auto client = std::make_shared<CurlClient>(HTTPOptions{}, multi);
    const auto start = std::chrono::steady_clock::now();
    startAll(*client, token, called);
    started += 14;
    if (round == 0) {
      ASSERT_TRUE(eventually([&] { return called > 0; }));
      toResponse = std::chrono::steady_clock::now() - start;
    }
    std::this_thread::sleep_until(start + round % 8 * toResponse / 4);
    if (round % 2 == 0) multi->stop();
    client.reset();
    multi.reset();
  }
  // Completions may still be called for responses that had come.
  EXPECT_TRUE(eventually([&] { return token.use_count() == 1; })) << token.use_count();
  EXPECT_GT(called, 0);
  EXPECT_LT(called, started);
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

// HTTP/2: many transfers on one connection, some of them held back, reset or timed out.
TEST_F(CurlMultiTest, MayBeStoppedAtAnyMomentWithStreamsInFlight) {
  if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  constexpr int kRounds = 100;
  const Watchdog watchdog(std::chrono::seconds(240));
  NginxServer nginx("location /slow { limit_rate 20k; } location /reset { return 444; }");
  ASSERT_TRUE(nginx.isRunning());
  for (const char* name : {"slow", "large"}) nginx.write(name, std::string(200'000, 'x'));
  nginx.write("small", "small");
  setEnvironment("SSL_CERT_FILE", nginx.certificatePath());
  std::atomic<int> called = 0;
  auto token = std::make_shared<int>();
  HTTPOptions options;
  options.timeoutIntervalForResource = milliseconds(15);
  for (int round = 0; round < kRounds; ++round) {
    const auto multi = std::make_shared<CurlMulti>();
    const auto client =
        std::make_shared<CurlClient>(round % 3 == 0 ? options : HTTPOptions{}, multi);
    for (int i = 0; i < 30; ++i) {
      for (const char* path : {"/small", "/slow", "/large", "/reset"}) {
        client->download(request(nginx.secureURL(path)), folder_.path(),
                         [token, &called](auto, auto, auto) { ++called; });
      }
    }
    if (round == 0) {
      ASSERT_TRUE(eventually([&] { return called > 0; }));
    }
    std::this_thread::sleep_for(milliseconds(round % 10 * 4));
    multi->stop();
  }
  EXPECT_TRUE(eventually([&] { return token.use_count() == 1; })) << token.use_count();
  EXPECT_GT(called, 0);
  EXPECT_LT(called, kRounds * 120);
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(CurlMultiTest, MayBeStoppedWhileOtherThreadsSendRequests) {
  const Watchdog watchdog(std::chrono::seconds(120));
  for (int round = 0; round < 50; ++round) {
    auto multi = std::make_shared<CurlMulti>();
    const auto client = std::make_shared<CurlClient>(HTTPOptions{}, multi);
    std::atomic<bool> stopped = false;
    std::thread sender([&] {
      while (!stopped) client->send(request(server_.url("/small")), [](auto, auto, auto) {});
    });
    std::this_thread::sleep_for(std::chrono::microseconds(round * 40));
    multi->stop();
    stopped = true;
    sender.join();
  }
}

TEST_F(CurlMultiTest, TheProcessMayEndWithRequestsInFlight) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The child process runs this test from its start, with the server of the parent process.
  setenv("TOLVANE_TEST_SERVER", server_.url("").c_str(), 0);
  const auto endWithRequestsInFlight = [this] {
    const Watchdog watchdog(std::chrono::seconds(60));
    const std::string server = std::getenv("TOLVANE_TEST_SERVER");
    std::atomic<int> called = 0;
    const auto client = makeHTTPClient(HTTPOptions{});
    for (const char* path : {"/small", "/silent", "/large", "/drip", "/stuck"}) {
      client->send(request(server + path), [&called](auto, auto, auto) { ++called; });
    }
    while (called == 0) std::this_thread::yield();
    std::filesystem::remove(folder_.path());  // whose destructor does not run
    std::exit(0);
  };
  EXPECT_EXIT(endWithRequestsInFlight(), testing::ExitedWithCode(0), "");
  unsetenv("TOLVANE_TEST_SERVER");
  EXPECT_FALSE(server_.requests().empty());
}

}  // namespace

}  // namespace tolvane
