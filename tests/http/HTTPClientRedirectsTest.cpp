// SPDX-License-Identifier: MIT
#include <charconv>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

using std::chrono::milliseconds;

// "/3" redirects to "/2", and so on; "/0" does not redirect.
void countDown(const LoopbackRequest& request, LoopbackConnection& connection) {
  int left = 0;
  std::from_chars(request.target.data() + 1, request.target.data() + request.target.size(), left);
  const LoopbackHandler handler =
      left == 0 ? respond(200, "arrived") : redirect("/" + std::to_string(left - 1));
  handler(request, connection);
}

class HTTPClientRedirects : public HTTPClientFixture {
 protected:
  LoopbackServer other_;
};

TEST_F(HTTPClientRedirects, AreFollowedToAnotherServer) {
  server_.on("/here", redirect(other_.url("/there")));
  other_.on("/there", respond(200, "arrived"));
  const BodyReply body = get(server_.url("/here"));
  EXPECT_EQ(body.error, std::nullopt);
  EXPECT_EQ(body.status(), 200);
  EXPECT_EQ(body.body, "arrived");
  FileReply file = download(server_.url("/here"));
  EXPECT_EQ(file.status(), 200);
  EXPECT_EQ(bytesOf(file), "arrived");
  EXPECT_EQ(other_.requests().back().header("Host"), "127.0.0.1:" + std::to_string(other_.port()));
}

TEST_F(HTTPClientRedirects, AreFollowedForTheFiveStatusesOfRedirects) {
  server_.on("/there", respond(200, "arrived"));
  for (const int status : {301, 302, 303, 307, 308}) {
    server_.on("/here", redirect("/there", status));
    EXPECT_EQ(get(server_.url("/here")).body, "arrived") << status;
  }
}

TEST_F(HTTPClientRedirects, MayBeRelativeToTheURLThatRedirects) {
  server_.on("/folder/here", redirect("there?x=1"));
  server_.on("/folder/there", respond(200, "arrived"));
  EXPECT_EQ(get(server_.url("/folder/here")).body, "arrived");
  EXPECT_EQ(server_.targets().back(), "/folder/there?x=1");
}

TEST_F(HTTPClientRedirects, OtherStatusesAreResponsesEvenWithALocation) {
  server_.on("/there", respond(200, "arrived"));
  for (const int status : {200, 201, 300, 404}) {
    server_.on("/here", redirect("/there", status, "stay"));
    const BodyReply reply = get(server_.url("/here"));
    EXPECT_EQ(reply.status(), status);
    EXPECT_EQ(reply.body, "stay") << status;
  }
}

TEST_F(HTTPClientRedirects, WithoutALocationAreResponses) {
  server_.on("/here", respond(302, "no location"));
  const BodyReply reply = get(server_.url("/here"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 302);
  EXPECT_EQ(reply.body, "no location");
  FileReply file = download(server_.url("/here"));
  EXPECT_EQ(file.status(), 302);
  EXPECT_EQ(bytesOf(file), "no location");
}

TEST_F(HTTPClientRedirects, TwentyAreFollowed) {
  server_.onAnyOther(countDown);
  const BodyReply reply = get(server_.url("/20"));
  EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  EXPECT_EQ(reply.body, "arrived");
  EXPECT_EQ(server_.requests().size(), 21u);
}

TEST_F(HTTPClientRedirects, TheTwentyFirstIsNotFollowed) {
  server_.onAnyOther(countDown);
  const Error tooMany = urlError(-1007, "too many HTTP redirects");
  EXPECT_EQ(get(server_.url("/21")).error, tooMany);
  EXPECT_EQ(server_.requests().size(), 21u);
  const FileReply file = download(server_.url("/21"));
  EXPECT_EQ(file.error, tooMany);
  EXPECT_FALSE(file.file.isOpen());
  EXPECT_EQ(folder_.names(), std::vector<std::string>{});
}

TEST_F(HTTPClientRedirects, InALoopEnd) {
  server_.on("/loop", redirect(other_.url("/loop")));
  other_.on("/loop", redirect(server_.url("/loop")));
  EXPECT_EQ(get(server_.url("/loop")).error, urlError(-1007, "too many HTTP redirects"));
}

TEST_F(HTTPClientRedirects, ToOtherSchemesAreErrors) {
  const std::string secret = folder_.write("secret", "a local file");
  const std::vector<std::string> targets = {"ftp://127.0.0.1/file", "file://" + secret,
                                            "gopher://127.0.0.1/"};
  for (const std::string& target : targets) {
    server_.on("/here", redirect(target));
    const BodyReply body = get(server_.url("/here"));
    ASSERT_TRUE(body.error) << target;
    EXPECT_EQ(body.error->domain, kURLErrorDomain) << target;
    EXPECT_EQ(body.error->code, kURLErrorUnsupportedURL) << target;
    EXPECT_EQ(body.body, "") << target;
    const FileReply file = download(server_.url("/here"));
    EXPECT_TRUE(file.error) << target;
    EXPECT_FALSE(file.file.isOpen()) << target;
  }
}

TEST_F(HTTPClientRedirects, ToInvalidURLsAreErrors) {
  for (const char* target : {"http://", "http://127.0.0.1:port/", "http://[::1/"}) {
    server_.on("/here", redirect(target));
    const BodyReply body = get(server_.url("/here"));
    ASSERT_TRUE(body.error) << target;
    EXPECT_EQ(body.error->domain, kURLErrorDomain) << target;
  }
}

TEST_F(HTTPClientRedirects, WaitForTheirServerInOrderAndDoNotTimeOut) {
  other_.onAnyOther(delayed(milliseconds(60), respond(200, "x")));
  std::vector<std::string> targets;
  for (int i = 0; i < 20; ++i) {
    targets.push_back("/there/" + std::to_string(i));
    server_.on("/here/" + std::to_string(i), redirect(other_.url(targets.back())));
  }
  HTTPOptions options;
  options.maximumConnectionsPerHost = 1;
  options.timeoutIntervalForResource = milliseconds(600);  // half of what all take
  const auto client = this->client(options);
  std::vector<std::future<BodyReply>> replies;
  for (int i = 0; i < 20; ++i) {
    replies.push_back(startSend(*client, request(server_.url("/here/" + std::to_string(i)))));
  }
  for (auto& future : replies) {
    const BodyReply reply = await(std::move(future));
    EXPECT_EQ(reply.error, std::nullopt) << describe(reply.error);
  }
  EXPECT_EQ(other_.targets(), targets);
}

TEST_F(HTTPClientRedirects, DoNotChangeWhetherABodyIsDecoded) {
  server_.on("/Packages.gz", redirect(other_.url("/get?id=1")));
  other_.onAnyOther(respondGzipped("Package: a\n"));
  EXPECT_EQ(get(server_.url("/Packages.gz")).body, gzipped("Package: a\n"));
}

TEST_F(HTTPClientRedirects, TheirBodyIsNotWrittenToTheFile) {
  server_.on("/here", redirect("/there", 302, "<p>This page has moved.</p>"));
  server_.on("/there", respond(200, "arrived"));
  server_.on("/to-nothing", redirect("/nothing", 302, "<p>Moved.</p>"));
  server_.on("/nothing", respond(200, ""));
  FileReply file = download(server_.url("/here"));
  EXPECT_EQ(bytesOf(file), "arrived");
  FileReply empty = download(server_.url("/to-nothing"));
  EXPECT_EQ(bytesOf(empty), "");
  EXPECT_EQ(get(server_.url("/here")).body, "arrived");
}

TEST_F(HTTPClientRedirects, TheirBodyDoesNotCountIntoTheLimit) {
  server_.on("/here", redirect("/there", 302, std::string(1000, 'x')));
  server_.on("/there", respond(200, "arrived"));
  HTTPOptions options;
  options.maximumBodySize = 100;
  EXPECT_EQ(get(server_.url("/here"), options).body, "arrived");
}

TEST_F(HTTPClientRedirects, AreFollowedHoweverTheirBodyEnds) {
  server_.on("/there", respond(200, "arrived"));
  const std::string head = responseHead(302, {{"Location", "/there"}, {"Content-Length", "100"}});
  const std::vector<std::pair<std::string, LoopbackHandler>> endings = {
      {"stalled", stall(head + "This page ")},
      {"cut short", hangUp(head + "This page ")},
      {"not in its coding",
       respond(302, "plain", {{"Location", "/there"}, {"Content-Encoding", "gzip"}})},
      {"without end", [](const LoopbackRequest&, LoopbackConnection& connection) {
         connection.write(responseHead(302, {{"Location", "/there"}}));
         while (connection.write(std::string(1000, 'x'))) continue;
         connection.close();
       }}};
  for (const auto& [ending, handler] : endings) {
    server_.on("/here", handler);
    const BodyReply reply = get(server_.url("/here"));
    EXPECT_EQ(reply.error, std::nullopt) << ending << ": " << describe(reply.error);
    EXPECT_EQ(reply.body, "arrived") << ending;
    FileReply file = download(server_.url("/here"));
    EXPECT_EQ(bytesOf(file), "arrived") << ending;
  }
}

TEST_F(HTTPClientRedirects, WithAShortBodyKeepTheirConnection) {
  server_.on("/here", redirect("/there", 302, "<p>This page has moved.</p>"));
  server_.on("/there", respond(200, "arrived"));
  EXPECT_EQ(get(server_.url("/here")).body, "arrived");
  EXPECT_EQ(server_.connectionsAccepted(), 1u);
}

TEST_F(HTTPClientRedirects, KeepTheFieldsThatForbidCaching) {
  server_.on("/here", redirect(other_.url("/there")));
  other_.on("/there", respond(200, "arrived"));
  await(startSend(*client(), uncachedRequest(URL::parse(server_.url("/here")))));
  EXPECT_EQ(other_.requests().back().header("Cache-Control"), "no-cache");
  EXPECT_EQ(other_.requests().back().header("Pragma"), "no-cache");
}

}  // namespace

}  // namespace tolvane
