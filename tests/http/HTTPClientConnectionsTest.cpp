// SPDX-License-Identifier: MIT
#include <atomic>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

class HTTPClientConnections : public HTTPClientFixture {
 protected:
  static void expectAll(std::vector<std::future<BodyReply>>& replies, const std::string& body) {
    for (auto& future : replies) {
      const BodyReply reply = await(std::move(future));
      EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
      EXPECT_EQ(reply.body, body);
    }
  }

  // Leaves that many kept connections to the server behind.
  void keepConnections(int count) {
    Gate gate;
    server_.on("/keep", heldBy(gate, respond(200, "kept")));
    const auto client = this->client();
    std::vector<std::future<BodyReply>> replies;
    for (int i = 0; i < count; ++i) {
      replies.push_back(startSend(*client, request(server_.url("/keep"))));
    }
    ASSERT_TRUE(eventually([&] { return server_.openConnections() == std::size_t(count); }));
    gate.open();
    expectAll(replies, "kept");
  }
};

TEST_F(HTTPClientConnections, AreNeverMoreToOneHostThanTheLimit) {
  Gate gate;
  LoopbackServer other;
  server_.onAnyOther(heldBy(gate, respond(200, "x")));
  other.onAnyOther(redirect(server_.url("/redirected")));
  const auto client = this->client();
  std::vector<std::future<BodyReply>> replies;
  std::vector<std::future<FileReply>> files;
  for (int i = 0; i < 100; ++i) {
    replies.push_back(startSend(*client, request(server_.url("/data"))));
    replies.push_back(startSend(*client, request(other.url("/elsewhere"))));
    files.push_back(startDownload(*client, request(server_.url("/file")), folder_.path()));
  }
  ASSERT_TRUE(eventually(
      [&] { return server_.requestsInFlight() == 6 && other.requests().size() == 100; }));
  std::this_thread::sleep_for(milliseconds(50));  // for a seventh
  gate.open();
  expectAll(replies, "x");
  for (auto& file : files) EXPECT_EQ(await(std::move(file)).error, std::nullopt);
  EXPECT_EQ(server_.requests().size(), 300u);
  EXPECT_EQ(server_.maximumRequestsInFlight(), 6u);
  EXPECT_EQ(server_.maximumOpenConnections(), 6u);
  EXPECT_LE(other.maximumOpenConnections(), 6u);
}

TEST_F(HTTPClientConnections, TheLimitIsThatOfTheOptions) {
  Gate gate;
  server_.onAnyOther(heldBy(gate, respond(200, "x")));
  for (const int limit : {1, 20}) {
    gate = Gate();
    server_.onAnyOther(heldBy(gate, respond(200, "x")));
    HTTPOptions options;
    options.maximumConnectionsPerHost = limit;
    const auto client = this->client(options);
    std::vector<std::future<BodyReply>> replies;
    for (int i = 0; i < 30; ++i) replies.push_back(startSend(*client, request(server_.url("/"))));
    EXPECT_TRUE(eventually([&] { return server_.requestsInFlight() == std::size_t(limit); }));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(server_.requestsInFlight(), std::size_t(limit));
    gate.open();
    expectAll(replies, "x");
  }
}

TEST_F(HTTPClientConnections, OneHostDoesNotWaitForAnother) {
  LoopbackServer slow;
  slow.onAnyOther(stall());
  server_.onAnyOther(respond(200, "x"));
  const auto client = this->client();
  for (int i = 0; i < 20; ++i) startSend(*client, request(slow.url("/")));
  EXPECT_EQ(await(startSend(*client, request(server_.url("/")))).body, "x");
}

TEST_F(HTTPClientConnections, WaitingRequestsAreSentInTheirOrder) {
  server_.onAnyOther(respond(200, "x"));
  HTTPOptions options;
  options.maximumConnectionsPerHost = 1;
  const auto client = this->client(options);
  std::vector<std::future<BodyReply>> replies;
  std::vector<std::string> targets;
  for (int i = 0; i < 40; ++i) {
    targets.push_back("/" + std::to_string(i));
    replies.push_back(startSend(*client, request(server_.url(targets.back()))));
  }
  expectAll(replies, "x");
  EXPECT_EQ(server_.targets(), targets);
}

TEST_F(HTTPClientConnections, AreReusedByNewClients) {
  server_.onAnyOther(respond(404, "no such index"));
  for (int i = 0; i < 50; ++i) get(server_.url("/candidate/" + std::to_string(i)));
  EXPECT_EQ(server_.requests().size(), 50u);
  EXPECT_EQ(server_.connectionsAccepted(), 1u);
}

TEST_F(HTTPClientConnections, AreReusedByTheSameClient) {
  server_.onAnyOther(respond(200, "x"));
  const auto client = this->client();
  for (int round = 0; round < 5; ++round) {
    std::vector<std::future<BodyReply>> replies;
    for (int i = 0; i < 30; ++i) replies.push_back(startSend(*client, request(server_.url("/"))));
    expectAll(replies, "x");
  }
  EXPECT_LE(server_.connectionsAccepted(), 6u);
}

TEST_F(HTTPClientConnections, AKeptOneThatTheServerClosesLosesNoRequest) {
  server_.on("/file", onceAConnection(respond(200, "x")));
  EXPECT_EQ(get(server_.url("/file")).body, "x");
  const BodyReply again = get(server_.url("/file"));
  EXPECT_EQ(again.error, std::nullopt) << describe(again.error);
  EXPECT_EQ(again.body, "x");
  std::vector<int> connections;
  for (const LoopbackRequest& sent : server_.requests()) connections.push_back(sent.connection);
  EXPECT_EQ(connections, (std::vector<int>{1, 1, 2}));
}

TEST_F(HTTPClientConnections, AKeptOneThatTheServerResetsLosesNoRequest) {
  server_.on("/first", respond(200, "x"));
  server_.on("/second", inTurn({reset(), respond(200, "y")}));
  get(server_.url("/first"));
  FileReply again = download(server_.url("/second"));
  EXPECT_EQ(again.error, std::nullopt) << describe(again.error);
  EXPECT_EQ(bytesOf(again), "y");
  EXPECT_EQ(server_.connectionsAccepted(), 2u);
}

TEST_F(HTTPClientConnections, ManyKeptOnesThatTheServerClosesLoseNoRequest) {
  keepConnections(6);
  server_.on("/file", onceAConnection(respond(200, "x")));
  const auto client = this->client();
  std::vector<std::future<BodyReply>> replies;
  for (int i = 0; i < 6; ++i) replies.push_back(startSend(*client, request(server_.url("/file"))));
  expectAll(replies, "x");
}

TEST_F(HTTPClientConnections, ARequestOnANewOneThatTheServerClosesIsNotSentAgain) {
  server_.on("/file", inTurn({hangUp(), respond(200, "x")}));
  EXPECT_EQ(get(server_.url("/file")).error, connectionLost());
  EXPECT_EQ(server_.requests().size(), 1u);
}

TEST_F(HTTPClientConnections, ARequestOnAKeptOneThatBreaksInsideTheResponseIsNotSentAgain) {
  server_.on("/first", respond(200, "x"));
  server_.on("/second", inTurn({cutOff("0123456789", 0), respond(200, "y")}));
  get(server_.url("/first"));
  EXPECT_EQ(get(server_.url("/second")).error, connectionLost());
  EXPECT_EQ(server_.requests().size(), 2u);
}

TEST_F(HTTPClientConnections, ARequestThatGetsNoResponseTwiceIsLost) {
  server_.on("/first", respond(200, "x"));
  server_.on("/second", hangUp());
  get(server_.url("/first"));
  EXPECT_EQ(get(server_.url("/second")).error, connectionLost());
  EXPECT_EQ(server_.requests().size(), 3u);
}

TEST_F(HTTPClientConnections, DownloadsWaitForSlowCompletions) {
  constexpr int kDownloads = 400;
  constexpr int kOpenFiles = 256;
  server_.onAnyOther(respond(200, "x"));
  const auto client = this->client();
  std::promise<void> release;
  std::atomic<int> called = 0;
  const auto released = release.get_future().share();
  for (int i = 0; i < kDownloads; ++i) {
    client->download(request(server_.url("/file")), folder_.path(),
                     [&, released](TemporaryFile, auto, std::optional<Error> error) {
                       released.wait();
                       EXPECT_EQ(error, std::nullopt);
                       ++called;
                     });
  }
  EXPECT_TRUE(eventually([&] { return server_.requests().size() == kOpenFiles; }));
  std::this_thread::sleep_for(milliseconds(50));  // for one more
  EXPECT_EQ(server_.requests().size(), std::size_t(kOpenFiles));
  release.set_value();
  EXPECT_TRUE(eventually([&] { return called == kDownloads; }));
  EXPECT_EQ(server_.requests().size(), std::size_t(kDownloads));
}

}  // namespace

}  // namespace tolvane
