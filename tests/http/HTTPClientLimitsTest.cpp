// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tests/http/HTTPClientFixture.h"

namespace tolvane {

namespace {

using testing::ElementsAre;

class HTTPClientLimits : public HTTPClientFixture {
 protected:
  const Error tooLong_ = urlError(-1103, "resource exceeds maximum size");
};

// A body without end, in pieces of 64 KiB.
void sendWithoutEnd(const LoopbackRequest&, LoopbackConnection& connection) {
  connection.write(responseHead(200, {}));
  const std::string piece(std::size_t{64} << 10, 'x');
  while (connection.write(piece)) {
  }
}

TEST_F(HTTPClientLimits, ABodyInMemoryEndsAtTheLimit) {
  server_.on("/small", respond(200, std::string(1000, 'x')));
  server_.on("/large", respond(200, std::string(1001, 'x')));
  server_.on("/packed", respondGzipped(std::string(1'000'000, 'x')));
  server_.on("/chunked", respondChunked({std::string(600, 'x'), std::string(600, 'y')}));
  HTTPOptions options;
  options.maximumBodySize = 1000;
  EXPECT_EQ(get(server_.url("/small"), options).body.size(), 1000u);
  for (const char* path : {"/large", "/packed", "/chunked"}) {
    const BodyReply reply = get(server_.url(path), options);
    ASSERT_TRUE(reply.error) << path;
    EXPECT_EQ(reply.error->domain, kURLErrorDomain) << path;
    EXPECT_EQ(reply.error->code, kURLErrorDataLengthExceedsMaximum) << path;
    EXPECT_EQ(reply.status(), 200) << path;
  }
}

TEST_F(HTTPClientLimits, ADownloadMayBeLongerThanABodyInMemory) {
  server_.on("/large", respond(200, std::string(1001, 'x')));
  HTTPOptions options;
  options.maximumBodySize = 1000;
  FileReply reply = download(server_.url("/large"), options);
  EXPECT_EQ(bytesOf(reply).size(), 1001u);
}

TEST_F(HTTPClientLimits, ADownloadEndsAtTheLimitOfItsRequest) {
  server_.onAnyOther(sendWithoutEnd);
  HTTPRequest limited = request(server_.url("/file"));
  limited.maximumFileSize = 1000000;
  const FileReply reply = await(startDownload(*client(), std::move(limited), folder_.path()));
  EXPECT_EQ(reply.error, tooLong_);
  EXPECT_EQ(reply.status(), 200);
  EXPECT_FALSE(reply.file.isOpen());
  EXPECT_THAT(folder_.names(), ElementsAre());
}

TEST_F(HTTPClientLimits, ADownloadWithoutALimitOfItsOwnEndsAtThatOfTheOptions) {
  server_.onAnyOther(sendWithoutEnd);
  EXPECT_EQ(download(server_.url("/file"), {.maximumFileSize = 1000000}).error, tooLong_);
}

TEST_F(HTTPClientLimits, ADownloadMayReachItsLimit) {
  server_.onAnyOther(respond(200, "123456789"));
  FileReply reply = download(server_.url("/file"), {.maximumFileSize = 9});
  EXPECT_EQ(bytesOf(reply), "123456789");
  EXPECT_EQ(download(server_.url("/file"), {.maximumFileSize = 8}).error, tooLong_);
}

}  // namespace

}  // namespace tolvane
