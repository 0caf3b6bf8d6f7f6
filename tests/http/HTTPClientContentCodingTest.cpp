// SPDX-License-Identifier: MIT
#include <atomic>
#include <string>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

class HTTPClientAnswers : public HTTPClientFixture {};

TEST_F(HTTPClientAnswers, ABodyIsReadIntoMemory) {
  server_.on("/file", respond(200, "some bytes"));
  const DataReply reply = get(server_.url("/file"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(reply.body, "some bytes");
}

TEST_F(HTTPClientAnswers, ABodyIsWrittenToAFile) {
  server_.on("/file", respond(200, std::string("some\0bytes", 10)));
  DownloadReply reply = download(server_.url("/file"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(bytesOf(reply), std::string("some\0bytes", 10));
}

TEST_F(HTTPClientAnswers, AnyStatusCountsAsAnAnswer) {
  for (const int status : {200, 404, 410, 500, 503}) {
    server_.on("/page", respond(status, "a page"));
    const DataReply data = get(server_.url("/page"));
    EXPECT_EQ(data.error, std::nullopt) << status;
    EXPECT_EQ(data.status(), status);
    EXPECT_EQ(data.body, "a page") << status;
    DownloadReply file = download(server_.url("/page"));
    EXPECT_EQ(file.error, std::nullopt) << status;
    EXPECT_EQ(file.status(), status);
    EXPECT_EQ(bytesOf(file), "a page") << status;
  }
}

TEST_F(HTTPClientAnswers, AnEmptyBodyGivesAnOpenEmptyFile) {
  server_.on("/empty", respond(200, ""));
  server_.on("/none", sendRaw(responseHead(204, {})));
  EXPECT_EQ(get(server_.url("/empty")).body, "");
  for (const char* path : {"/empty", "/none"}) {
    DownloadReply reply = download(server_.url(path));
    EXPECT_EQ(reply.error, std::nullopt) << path;
    EXPECT_EQ(bytesOf(reply), "") << path;
  }
}

TEST_F(HTTPClientAnswers, ABodyMayComeInChunksOrEndWithTheConnection) {
  server_.on("/chunks", respondChunked({"first ", "second ", "third"}));
  server_.on("/end", hangUp(responseHead(200, {}) + "until the end"));
  EXPECT_EQ(get(server_.url("/chunks")).body, "first second third");
  EXPECT_EQ(get(server_.url("/end")).body, "until the end");
  DownloadReply chunks = download(server_.url("/chunks"));
  EXPECT_EQ(bytesOf(chunks), "first second third");
}

TEST_F(HTTPClientAnswers, ALargeBodyArrivesWhole) {
  std::string body;
  for (int i = 0; body.size() < 2'000'000; ++i) body += std::to_string(i) + "\n";
  server_.on("/large", respond(200, body));
  EXPECT_TRUE(get(server_.url("/large")).body == body);
  DownloadReply reply = download(server_.url("/large"));
  EXPECT_TRUE(bytesOf(reply) == body);
}

TEST_F(HTTPClientAnswers, AnInformationalHeadIsNotTheAnswer) {
  server_.on("/hints", sendRaw(responseHead(103, {{"Link", "</style>"}}) +
                               responseHead(200, {{"Content-Length", "2"}}) + "ok"));
  const DataReply reply = get(server_.url("/hints"));
  EXPECT_EQ(reply.status(), 200);
  EXPECT_EQ(reply.body, "ok");
}

TEST_F(HTTPClientAnswers, TheURLIsSentAsItWasTyped) {
  server_.onAnyOther(respond(200, ""));
  for (const char* target : {"/a/../b/./c", "/%7Euser/%2f?q=%20&r=/../", "/a//b", "/a+b;c"}) {
    get(server_.url(target));
    EXPECT_EQ(server_.targets().back(), target);
  }
  get(server_.url("/a?b#c"));
  EXPECT_EQ(server_.targets().back(), "/a?b") << "a fragment is the client's";
}

TEST_F(HTTPClientAnswers, HeadersAreSentAsGiven) {
  server_.on("/file", respond(200, ""));
  const Headers headers = {{"Cache-Control", "no-cache"}, {"X-Note", "a, b;  c=\"d\""}};
  await(startData(*session(), request(server_.url("/file"), headers)));
  await(startDownload(*session(), request(server_.url("/file"), headers), folder_.path()));
  ASSERT_EQ(server_.requests().size(), 2u);
  for (const LoopbackRequest& sent : server_.requests()) {
    EXPECT_EQ(sent.header("Cache-Control"), "no-cache");
    EXPECT_EQ(sent.header("X-Note"), "a, b;  c=\"d\"");
    EXPECT_EQ(sent.header("Host"), "127.0.0.1:" + std::to_string(server_.port()));
    for (const char* name : {"Range", "Cookie", "Authorization", "If-Modified-Since", "Referer"}) {
      EXPECT_FALSE(sent.hasHeader(name)) << name;
    }
  }
}

TEST_F(HTTPClientAnswers, CookiesAreNotKept) {
  server_.on("/set", respond(200, "", {{"Set-Cookie", "id=1; Path=/"}}));
  const auto session = this->session();
  await(startData(*session, request(server_.url("/set"))));
  await(startData(*session, request(server_.url("/set"))));
  EXPECT_FALSE(server_.requests().back().hasHeader("Cookie"));
}

TEST_F(HTTPClientAnswers, TheRequestForAnIndexForbidsCaching) {
  const std::optional<URL> url = URL::parse("http://repository.example/Packages");
  const HTTPRequest request = uncachedRequest(url);
  EXPECT_EQ(request.url, url);
  EXPECT_EQ(request.headers, (Headers{{"Cache-Control", "no-cache"}, {"Pragma", "no-cache"}}));
  EXPECT_EQ(uncachedRequest(std::nullopt).url, std::nullopt);
}

TEST_F(HTTPClientAnswers, NoCacheIsKept) {
  server_.on("/file", inTurn({respond(200, "old", {{"Cache-Control", "max-age=3600"}}),
                              respond(200, "new", {{"Cache-Control", "max-age=3600"}})}));
  const auto session = this->session();
  EXPECT_EQ(await(startData(*session, request(server_.url("/file")))).body, "old");
  EXPECT_EQ(await(startData(*session, request(server_.url("/file")))).body, "new");
}

TEST_F(HTTPClientAnswers, AContentEncodingIsAskedForAndUndoneInMemory) {
  server_.on("/Packages", respondGzipped("Package: a\n"));
  EXPECT_EQ(get(server_.url("/Packages")).body, "Package: a\n");
  EXPECT_NE(server_.requests().back().header("Accept-Encoding").find("gzip"), std::string::npos);
}

TEST_F(HTTPClientAnswers, AContentEncodingIsUndoneHoweverItsBytesArrive) {
  std::string text;
  for (int i = 0; i < 2000; ++i) text += "Package: p" + std::to_string(i * i) + "\n";
  const std::string packed = gzipped(text);
  server_.on("/Packages", [packed](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(responseHead(
        200, {{"Content-Length", std::to_string(packed.size())}, {"Content-Encoding", "X-GZip"}}));
    for (std::size_t at = 0; at < packed.size(); at += 7) connection.write(packed.substr(at, 7));
  });
  EXPECT_EQ(get(server_.url("/Packages")).body, text);
}

TEST_F(HTTPClientAnswers, AContentEncodingThatIsCutIsAnErrorThoughTheBodyIsWhole) {
  const std::string packed = gzipped("Package: a\nFilename: a.deb\n\nPackage: b\n");
  for (const std::size_t kept :
       {std::size_t{1}, std::size_t{9}, packed.size() / 2, packed.size() - 9, packed.size() - 1}) {
    server_.onAnyOther(respond(200, packed.substr(0, kept), {{"Content-Encoding", "gzip"}}));
    const DataReply reply = get(server_.url("/Packages"));
    EXPECT_EQ(reply.error, urlError(-1016, "cannot decode content data")) << kept;
    EXPECT_EQ(reply.body, "") << kept;
  }
}

TEST_F(HTTPClientAnswers, AllMembersOfAnEncodedBodyAreUndone) {
  const std::string members = gzipped("one ") + gzipped("") + gzipped(std::string(200000, 'x'));
  server_.onAnyOther(respond(200, members, {{"Content-Encoding", "gzip"}}));
  EXPECT_EQ(get(server_.url("/Packages")).body, "one " + std::string(200000, 'x'));
}

TEST_F(HTTPClientAnswers, BytesBehindAnEncodedBodyAreAnError) {
  for (const char* behind : {"x", "more bytes than a member's head has"}) {
    server_.onAnyOther(respond(200, gzipped("text") + behind, {{"Content-Encoding", "gzip"}}));
    EXPECT_EQ(get(server_.url("/Packages")).error, urlError(-1016, "cannot decode content data"))
        << behind;
  }
}

TEST_F(HTTPClientAnswers, OfAFailureInAnUnknownEncodingTheStatusIsTheAnswer) {
  server_.onAnyOther(respond(404, "?", {{"Content-Encoding", "br"}}));
  const DataReply reply = get(server_.url("/Packages"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 404);
}

TEST_F(HTTPClientAnswers, AnEmptyBodyHasNoEncodingToUndo) {
  server_.onAnyOther(respond(404, "", {{"Content-Encoding", "gzip"}}));
  const DataReply reply = get(server_.url("/Packages"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 404);
}

TEST_F(HTTPClientAnswers, AnEncodingThatWasNotAskedForIsAnError) {
  for (const char* coding : {"br", "deflate", "gzip, gzip", "zstd"}) {
    server_.onAnyOther(respond(200, gzipped("text"), {{"Content-Encoding", coding}}));
    EXPECT_EQ(get(server_.url("/Packages")).error, urlError(-1016, "cannot decode content data"))
        << coding;
  }
  for (const char* none : {"identity", "none", ""}) {
    server_.onAnyOther(respond(200, "text", {{"Content-Encoding", none}}));
    EXPECT_EQ(get(server_.url("/Packages")).body, "text") << none;
  }
}

TEST_F(HTTPClientAnswers, WhatAnEncodingStandsForIsBounded) {
  const std::string packed = gzipped(std::string(1000, 'x'));
  server_.onAnyOther(respond(200, packed, {{"Content-Encoding", "gzip"}}));
  EXPECT_EQ(get(server_.url("/Packages"), {.maximumBodySize = 1000}).body.size(), 1000U);
  EXPECT_EQ(get(server_.url("/Packages"), {.maximumBodySize = 999}).error,
            urlError(-1103, "resource exceeds maximum size"));
}

TEST_F(HTTPClientAnswers, APackedIndexIsTakenAsItWasStored) {
  const std::string packed = gzipped("Package: a\n");
  for (const char* target : {"/Packages.gz", "/Packages.bz2", "/Packages.xz", "/Packages.gz?v=1"}) {
    server_.onAnyOther(respondGzipped("Package: a\n"));
    EXPECT_EQ(get(server_.url(target)).body, packed) << target;
    EXPECT_FALSE(server_.requests().back().hasHeader("Accept-Encoding")) << target;
  }
}

TEST_F(HTTPClientAnswers, OnlyTheEndOfThePathTellsThatAnIndexIsPacked) {
  for (const char* target : {"/Packages?name=x.gz", "/Packages.gz/list", "/Packages.zip"}) {
    server_.onAnyOther(respondGzipped("text"));
    EXPECT_EQ(get(server_.url(target)).body, "text") << target;
  }
}

TEST_F(HTTPClientAnswers, ADownloadIsTakenAsItWasStored) {
  const std::string packed = gzipped("Package: a\n");
  for (const char* target : {"/Packages", "/Packages.gz", "/package.deb"}) {
    server_.onAnyOther(respondGzipped("Package: a\n"));
    DownloadReply reply = download(server_.url(target));
    EXPECT_EQ(bytesOf(reply), packed) << target;
    EXPECT_FALSE(server_.requests().back().hasHeader("Accept-Encoding")) << target;
  }
}

TEST_F(HTTPClientAnswers, ABodyThatIsNotInItsEncodingIsAnError) {
  server_.on("/Packages", respond(200, "no gzip at all", {{"Content-Encoding", "gzip"}}));
  const DataReply reply = get(server_.url("/Packages"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.error->code, kURLErrorCannotDecodeContentData);
}

TEST_F(HTTPClientAnswers, CompletionsComeOneAtATimeOnABackgroundThreadExactlyOnce) {
  constexpr int kRequests = 200;
  server_.onAnyOther(respond(200, "x"));
  std::atomic<int> running = 0, called = 0, overlapping = 0, onCallersThread = 0;
  const auto session = this->session();
  const std::thread::id caller = std::this_thread::get_id();
  const auto note = [&] {
    if (++running > 1) ++overlapping;
    if (std::this_thread::get_id() == caller) ++onCallersThread;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    --running;
    ++called;
  };
  for (int i = 0; i < kRequests / 4; ++i) {
    session->send(request(server_.url("/data")), [&](auto, auto, auto) { note(); });
    session->download(request(server_.url("/file")), folder_.path(),
                      [&](auto, auto, auto) { note(); });
    session->send({std::nullopt, {}}, [&](auto, auto, auto) { note(); });
    session->download({std::nullopt, {}}, folder_.path(), [&](auto, auto, auto) { note(); });
  }
  EXPECT_TRUE(eventually([&] { return called == kRequests; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // for a call too many
  EXPECT_EQ(called, kRequests);
  EXPECT_EQ(overlapping, 0);
  EXPECT_EQ(onCallersThread, 0);
}

TEST_F(HTTPClientAnswers, ASessionMayGoWhileItsRequestsAreUnderWay) {
  const Gate gate;
  server_.on("/file", heldBy(gate, respond(200, "late")));
  auto session = this->session();
  auto reply = startData(*session, request(server_.url("/file")));
  ASSERT_TRUE(eventually([&] { return server_.requestsInFlight() == 1; }));
  session.reset();
  Gate(gate).open();
  EXPECT_EQ(await(std::move(reply)).body, "late");
}

TEST_F(HTTPClientAnswers, ACompletionMaySendTheNextRequest) {
  server_.onAnyOther(respond(200, "x"));
  const auto session = this->session();
  std::promise<int> done;
  std::function<void(int)> next = [&](int sent) {
    if (sent == 20) return done.set_value(sent);
    session->send(request(server_.url("/next")), [&, sent](auto, auto, auto) { next(sent + 1); });
  };
  next(0);
  EXPECT_EQ(done.get_future().get(), 20);
}

TEST_F(HTTPClientAnswers, TheDefaultFactoryMakesWorkingSessions) {
  server_.on("/file", respond(200, "shared"));
  const auto session = makeHTTPClient(HTTPOptions{});
  EXPECT_EQ(await(startData(*session, request(server_.url("/file")))).body, "shared");
}

}  // namespace

}  // namespace tolvane
