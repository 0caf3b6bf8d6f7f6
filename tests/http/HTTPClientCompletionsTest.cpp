// SPDX-License-Identifier: MIT
#include <atomic>
#include <filesystem>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/CompletionProbe.h"

namespace tolvane {

namespace {

struct End {
  int status = 0;
  std::optional<Error> error;
};

// A CompletionProbe throws when its completion is called twice, however late.
class HTTPClientCompletions : public HTTPClientFixture {
 protected:
  End endOfSend(const std::string& url, const HTTPOptions& options = {}) const {
    const CompletionProbe<End> probe;
    client(options)->send(
        request(url), probe.completion([](const std::string&, auto response, auto error) -> End {
          return {statusOf(response), std::move(error)};
        }));
    return probe.wait();
  }

  End endOfDownload(const std::string& url, const std::string& folder,
                    const HTTPOptions& options = {}) const {
    const CompletionProbe<End> probe;
    client(options)->download(
        request(url), folder,
        probe.completion([](const TemporaryFile&, auto response, auto error) -> End {
          return {statusOf(response), std::move(error)};
        }));
    return probe.wait();
  }

  void expectEnd(const std::string& path, int status, const std::optional<Error>& error,
                 const HTTPOptions& options = {}) const {
    const std::string url = server_.url(path);
    for (const End& end : {endOfSend(url, options), endOfDownload(url, folder_.path(), options)}) {
      EXPECT_EQ(end.status, status) << path;
      EXPECT_EQ(end.error, error) << path << ' ' << describe(end.error);
    }
  }
};

TEST_F(HTTPClientCompletions, AreCalledOnceWithAResponse) {
  server_.on("/good", respond(200, "bytes"));
  server_.on("/empty", respond(200, ""));
  server_.on("/missing", respond(404, "no"));
  server_.on("/chunks", respondChunked({"by", "tes"}));
  expectEnd("/good", 200, std::nullopt);
  expectEnd("/empty", 200, std::nullopt);
  expectEnd("/missing", 404, std::nullopt);
  expectEnd("/chunks", 200, std::nullopt);
}

TEST_F(HTTPClientCompletions, AreCalledOnceWhenTheConnectionBreaks) {
  server_.on("/cut", cutOff("bytes", 2));
  server_.on("/gone", hangUp());
  server_.on("/reset", reset());
  expectEnd("/cut", 200, connectionLost());
  expectEnd("/gone", 0, connectionLost());
  expectEnd("/reset", 0, connectionLost());
}

TEST_F(HTTPClientCompletions, AreCalledOnceAfterATimeout) {
  HTTPOptions impatient;
  impatient.timeoutIntervalForRequest = std::chrono::milliseconds(100);
  server_.on("/silent", stall());
  expectEnd("/silent", 0, timedOut(), impatient);
}

TEST_F(HTTPClientCompletions, AreCalledOnceForARequestThatIsSentAgain) {
  server_.on("/good", respond(200, "bytes"));
  server_.on("/moved", redirect("/good"));
  server_.on("/round", redirect("/round"));
  expectEnd("/moved", 200, std::nullopt);
  expectEnd("/round", 302, urlError(-1007, "too many HTTP redirects"));
  // The server closes the connection at its second request, which is sent on another one.
  server_.on("/once", onceAConnection(respond(200, "bytes")));
  expectEnd("/once", 200, std::nullopt);
}

TEST_F(HTTPClientCompletions, AreCalledOnceForARequestThatIsNotSent) {
  for (const char* url : {"", "ftp://repo.example/a"}) {
    EXPECT_EQ(endOfSend(url).error, urlError(-1002, "unsupported URL")) << url;
    EXPECT_EQ(endOfDownload(url, folder_.path()).error, urlError(-1002, "unsupported URL")) << url;
  }
  EXPECT_EQ(endOfSend("http:///a").error, urlError(-1000, "bad URL"));
}

TEST_F(HTTPClientCompletions, AreCalledOnceForAFileThatCannotBeWritten) {
  const std::string noFolderForFiles = "/proc/self";
  if (!std::filesystem::exists(noFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.on("/good", respond(200, std::string(100'000, 'x')));
  EXPECT_TRUE(endOfDownload(server_.url("/good"), noFolderForFiles).error);
}

TEST_F(HTTPClientCompletions, AreCalledOneAtATimeOnABackgroundThread) {
  constexpr int kRequests = 200;
  server_.onAnyOther(respond(200, "x"));
  std::atomic<int> running = 0, called = 0, overlapping = 0, onCallersThread = 0;
  const auto client = this->client();
  const std::thread::id caller = std::this_thread::get_id();
  const auto note = [&] {
    if (++running > 1) ++overlapping;
    if (std::this_thread::get_id() == caller) ++onCallersThread;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    --running;
    ++called;
  };
  for (int i = 0; i < kRequests / 4; ++i) {
    client->send(request(server_.url("/data")), [&](auto, auto, auto) { note(); });
    client->download(request(server_.url("/file")), folder_.path(),
                     [&](auto, auto, auto) { note(); });
    client->send({std::nullopt, {}}, [&](auto, auto, auto) { note(); });
    client->download({std::nullopt, {}}, folder_.path(), [&](auto, auto, auto) { note(); });
  }
  EXPECT_TRUE(eventually([&] { return called == kRequests; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // for one call too many
  EXPECT_EQ(called, kRequests);
  EXPECT_EQ(overlapping, 0);
  EXPECT_EQ(onCallersThread, 0);
}

TEST_F(HTTPClientCompletions, MaySendTheNextRequest) {
  server_.onAnyOther(respond(200, "x"));
  const auto client = this->client();
  std::promise<int> done;
  std::function<void(int)> next = [&](int sent) {
    if (sent == 20) return done.set_value(sent);
    client->send(request(server_.url("/next")), [&, sent](auto, auto, auto) { next(sent + 1); });
  };
  next(0);
  EXPECT_EQ(done.get_future().get(), 20);
}

TEST_F(HTTPClientCompletions, AreCalledThoughTheClientIsDestroyed) {
  const Gate gate;
  server_.on("/file", heldBy(gate, respond(200, "late")));
  auto client = this->client();
  auto reply = startSend(*client, request(server_.url("/file")));
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  client.reset();
  Gate(gate).open();
  EXPECT_EQ(await(std::move(reply)).body, "late");
}

TEST_F(HTTPClientCompletions, AreCalledByTheClientsOfMakeHTTPClient) {
  server_.on("/file", respond(200, "shared"));
  const auto client = makeHTTPClient(HTTPOptions{});
  EXPECT_EQ(await(startSend(*client, request(server_.url("/file")))).body, "shared");
}

}  // namespace

}  // namespace tolvane
