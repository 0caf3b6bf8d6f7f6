// SPDX-License-Identifier: MIT
// However a transfer ends, its completion is called once and never again.
#include <filesystem>

#include "tests/http/HTTPClientFixture.h"
#include "tests/support/CompletionProbe.h"

namespace tolvane {

namespace {

struct End {
  int status = 0;
  std::optional<Error> error;
};

// The probes throw when a completion is called twice, however late.
class HTTPClientOnce : public HTTPClientFixture {
 protected:
  End endOfData(const std::string& url, const HTTPOptions& configuration = {}) const {
    const CompletionProbe<End> probe;
    session(configuration)
        ->send(request(url),
               probe.completion([](const std::string&, auto response, auto error) -> End {
                 return {statusOf(response), std::move(error)};
               }));
    return probe.wait();
  }

  End endOfDownload(const std::string& url, const std::string& folder,
                    const HTTPOptions& configuration = {}) const {
    const CompletionProbe<End> probe;
    session(configuration)
        ->download(request(url), folder,
                   probe.completion([](const TemporaryFile&, auto response, auto error) -> End {
                     return {statusOf(response), std::move(error)};
                   }));
    return probe.wait();
  }

  void expectEnd(const std::string& path, int status, const std::optional<Error>& error,
                 const HTTPOptions& configuration = {}) const {
    const std::string url = server_.url(path);
    for (const End& end :
         {endOfData(url, configuration), endOfDownload(url, folder_.path(), configuration)}) {
      EXPECT_EQ(end.status, status) << path;
      EXPECT_EQ(end.error, error) << path << ' ' << describe(end.error);
    }
  }
};

TEST_F(HTTPClientOnce, AnAnswerIsHandedOver) {
  server_.on("/good", respond(200, "bytes"));
  server_.on("/empty", respond(200, ""));
  server_.on("/missing", respond(404, "no"));
  server_.on("/chunks", respondChunked({"by", "tes"}));
  expectEnd("/good", 200, std::nullopt);
  expectEnd("/empty", 200, std::nullopt);
  expectEnd("/missing", 404, std::nullopt);
  expectEnd("/chunks", 200, std::nullopt);
}

TEST_F(HTTPClientOnce, ABrokenConnectionIsHandedOver) {
  server_.on("/cut", cutOff("bytes", 2));
  server_.on("/gone", hangUp());
  server_.on("/reset", reset());
  expectEnd("/cut", 200, connectionLost());
  expectEnd("/gone", 0, connectionLost());
  expectEnd("/reset", 0, connectionLost());
}

TEST_F(HTTPClientOnce, ATimeoutIsHandedOver) {
  HTTPOptions impatient;
  impatient.timeoutIntervalForRequest = std::chrono::milliseconds(100);
  server_.on("/silent", stall());
  expectEnd("/silent", 0, timedOut(), impatient);
}

TEST_F(HTTPClientOnce, ATransferThatIsSentAgainIsHandedOver) {
  server_.on("/good", respond(200, "bytes"));
  server_.on("/moved", redirect("/good"));
  server_.on("/round", redirect("/round"));
  expectEnd("/moved", 200, std::nullopt);
  expectEnd("/round", 302, urlError(-1007, "too many HTTP redirects"));
  // The second request on a connection finds it closed and goes on another.
  server_.on("/once", onceAConnection(respond(200, "bytes")));
  expectEnd("/once", 200, std::nullopt);
}

TEST_F(HTTPClientOnce, ARequestThatIsNotSentIsHandedOver) {
  for (const char* url : {"", "ftp://repo.example/a"}) {
    EXPECT_EQ(endOfData(url).error, urlError(-1002, "unsupported URL")) << url;
    EXPECT_EQ(endOfDownload(url, folder_.path()).error, urlError(-1002, "unsupported URL")) << url;
  }
  EXPECT_EQ(endOfData("http:///a").error, urlError(-1000, "bad URL"));
}

TEST_F(HTTPClientOnce, AFileThatCannotBeWrittenIsHandedOver) {
  const std::string noFolderForFiles = "/proc/self";
  if (!std::filesystem::exists(noFolderForFiles)) GTEST_SKIP() << "there is no /proc";
  server_.on("/good", respond(200, std::string(100'000, 'x')));
  EXPECT_TRUE(endOfDownload(server_.url("/good"), noFolderForFiles).error);
}

}  // namespace

}  // namespace tolvane
