// SPDX-License-Identifier: MIT
#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

class HTTPClientContentCoding : public HTTPClientFixture {};

TEST_F(HTTPClientContentCoding, GzipIsAskedForAndDecodedInMemory) {
  server_.on("/Packages", respondGzipped("Package: a\n"));
  EXPECT_EQ(get(server_.url("/Packages")).body, "Package: a\n");
  EXPECT_NE(server_.requests().back().header("Accept-Encoding").find("gzip"), std::string::npos);
}

TEST_F(HTTPClientContentCoding, GzipIsDecodedHoweverItsBytesArrive) {
  std::string index;
  for (int i = 0; i < 2000; ++i) index += "Package: p" + std::to_string(i * i) + "\n";
  const std::string packed = gzipped(index);
  server_.on("/Packages", [packed](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(responseHead(
        200, {{"Content-Length", std::to_string(packed.size())}, {"Content-Encoding", "X-GZip"}}));
    for (std::size_t at = 0; at < packed.size(); at += 7) connection.write(packed.substr(at, 7));
  });
  EXPECT_EQ(get(server_.url("/Packages")).body, index);
}

TEST_F(HTTPClientContentCoding, AllMembersOfAGzipBodyAreDecoded) {
  const std::string members = gzipped("one ") + gzipped("") + gzipped(std::string(200000, 'x'));
  server_.onAnyOther(respond(200, members, {{"Content-Encoding", "gzip"}}));
  EXPECT_EQ(get(server_.url("/Packages")).body, "one " + std::string(200000, 'x'));
}

TEST_F(HTTPClientContentCoding, ACutGzipStreamIsAnErrorThoughTheBodyIsWhole) {
  const std::string packed = gzipped("Package: a\nFilename: a.deb\n\nPackage: b\n");
  for (const std::size_t kept :
       {std::size_t{1}, std::size_t{9}, packed.size() / 2, packed.size() - 9, packed.size() - 1}) {
    server_.onAnyOther(respond(200, packed.substr(0, kept), {{"Content-Encoding", "gzip"}}));
    const BodyReply reply = get(server_.url("/Packages"));
    EXPECT_EQ(reply.error, urlError(-1016, "cannot decode content data")) << kept;
    EXPECT_EQ(reply.body, "") << kept;
  }
}

TEST_F(HTTPClientContentCoding, BytesAfterTheLastGzipMemberAreAnError) {
  for (const char* behind : {"x", "more bytes than a member's head has"}) {
    server_.onAnyOther(respond(200, gzipped("text") + behind, {{"Content-Encoding", "gzip"}}));
    EXPECT_EQ(get(server_.url("/Packages")).error, urlError(-1016, "cannot decode content data"))
        << behind;
  }
}

TEST_F(HTTPClientContentCoding, ABodyThatIsNotInItsCodingIsAnError) {
  server_.on("/Packages", respond(200, "no gzip at all", {{"Content-Encoding", "gzip"}}));
  const BodyReply reply = get(server_.url("/Packages"));
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, kURLErrorDomain);
  EXPECT_EQ(reply.error->code, kURLErrorCannotDecodeContentData);
}

TEST_F(HTTPClientContentCoding, ACodingThatWasNotAskedForIsAnError) {
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

TEST_F(HTTPClientContentCoding, AFailureInAnUnknownCodingIsReceivedWithItsStatus) {
  server_.onAnyOther(respond(404, "?", {{"Content-Encoding", "br"}}));
  const BodyReply reply = get(server_.url("/Packages"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 404);
}

TEST_F(HTTPClientContentCoding, AnEmptyBodyNeedsNoDecoding) {
  server_.onAnyOther(respond(404, "", {{"Content-Encoding", "gzip"}}));
  const BodyReply reply = get(server_.url("/Packages"));
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.status(), 404);
}

TEST_F(HTTPClientContentCoding, TheDecodedBodyHasALimit) {
  const std::string packed = gzipped(std::string(1000, 'x'));
  server_.onAnyOther(respond(200, packed, {{"Content-Encoding", "gzip"}}));
  EXPECT_EQ(get(server_.url("/Packages"), {.maximumBodySize = 1000}).body.size(), 1000U);
  EXPECT_EQ(get(server_.url("/Packages"), {.maximumBodySize = 999}).error,
            urlError(-1103, "resource exceeds maximum size"));
}

TEST_F(HTTPClientContentCoding, ACompressedIndexIsNotDecoded) {
  const std::string packed = gzipped("Package: a\n");
  for (const char* target : {"/Packages.gz", "/Packages.bz2", "/Packages.xz", "/Packages.gz?v=1"}) {
    server_.onAnyOther(respondGzipped("Package: a\n"));
    EXPECT_EQ(get(server_.url(target)).body, packed) << target;
    EXPECT_FALSE(server_.requests().back().hasHeader("Accept-Encoding")) << target;
  }
}

TEST_F(HTTPClientContentCoding, OnlyTheEndOfThePathMarksACompressedIndex) {
  for (const char* target : {"/Packages?name=x.gz", "/Packages.gz/list", "/Packages.zip"}) {
    server_.onAnyOther(respondGzipped("text"));
    EXPECT_EQ(get(server_.url(target)).body, "text") << target;
  }
}

TEST_F(HTTPClientContentCoding, ADownloadIsNotDecoded) {
  const std::string packed = gzipped("Package: a\n");
  for (const char* target : {"/Packages", "/Packages.gz", "/package.deb"}) {
    server_.onAnyOther(respondGzipped("Package: a\n"));
    FileReply reply = download(server_.url(target));
    EXPECT_EQ(bytesOf(reply), packed) << target;
    EXPECT_FALSE(server_.requests().back().hasHeader("Accept-Encoding")) << target;
  }
}

}  // namespace

}  // namespace tolvane
