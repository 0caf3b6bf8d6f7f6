// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "tests/archive_client/ArchiveFixture.h"
#include "tests/support/CentralArchiveServer.h"
#include "tests/support/NginxServer.h"

namespace tolvane {

namespace {

using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kCheckPage = "check_repo.php";
constexpr const char* kTokenPage = "request_upload_token.php";
constexpr const char* kUploadPage = "upload_package.php";

// The client against a server that reads every byte, over the network.
class CentralArchiveWire : public ArchiveFixture {
 protected:
  CentralArchiveWire() : wired_(server_.baseURL(), kSecret) {
    package_.setDisplayName("Größe \"1\"");
    package_.setVersion("1.2");
    package_.setFilename("debs/tool.deb");
    package_.setSize("22");
  }

  // The request's head, without what depends on the machine.
  static std::string headOf(const ArchiveRequest& request) {
    return withValue(withValue(request.sent.head, "Host", "HOST"), "Accept-Encoding", "ENCODINGS");
  }

  // A whole head. `fields` are those between what all have in common.
  static std::string expectedHead(const std::string& page, const std::string& fields,
                                  std::size_t length) {
    return "POST /central_archive/archive-api/" + page +
           " HTTP/1.1\r\nHost: HOST\r\nUser-Agent: Tolvane/" TOLVANE_VERSION
           "\r\nAccept: */*\r\nAccept-Encoding: ENCODINGS\r\n" +
           fields + "Content-Length: " + std::to_string(length) + "\r\n\r\n";
  }

  // The one request that the server has had.
  ArchiveRequest received() const {
    const auto requests = server_.requests();
    EXPECT_EQ(requests.size(), 1u);
    const ArchiveRequest request = requests.empty() ? ArchiveRequest() : requests.back();
    EXPECT_EQ(request.fault, "");
    return request;
  }

  // Answers each of the three requests like this.
  void answerAll(const LoopbackHandler& handler) {
    for (const char* page : {kCheckPage, kTokenPage, kUploadPage}) server_.answer(page, handler);
  }

  CentralArchiveServer server_;
  CentralArchiveClient wired_;

 private:
  // The head with another value for one of its fields.
  static std::string withValue(std::string head, const std::string& name,
                               const std::string& value) {
    const std::string begin = "\r\n" + name + ": ";
    const std::size_t at = head.find(begin);
    EXPECT_NE(at, std::string::npos) << name;
    const std::size_t from = at + begin.size();
    return head.replace(from, head.find("\r\n", from) - from, value);
  }
};

TEST_F(CentralArchiveWire, ACheckIsTheseBytes) {
  EXPECT_EQ(check(wired_, {package_}).error, std::nullopt);
  const ArchiveRequest request = received();
  EXPECT_EQ(request.sent.body,
            R"({"repository_url":"https://repo.example/","repository_type":"APT","packages":[)"
            R"({"identifier":"com.example.tool","version":"1.2","name":"Größe \"1\"",)"
            R"("filename":"tool.deb","size":"22","original_url":"debs/tool.deb"}]})");
  EXPECT_EQ(headOf(request), expectedHead(kCheckPage,
                                          "Content-Type: application/json\r\nX-Archive-Secret: " +
                                              std::string(kSecret) + "\r\n",
                                          request.sent.body.size()));
}

TEST_F(CentralArchiveWire, ACheckWithoutASecretHasItsEmptyField) {
  wired_.setApiSecret("");
  check(wired_);
  EXPECT_NE(received().sent.head.find("\r\nX-Archive-Secret:\r\n"), std::string::npos);
}

TEST_F(CentralArchiveWire, ASecretOfBlanksIsAnEmptyField) {
  for (const char* blanks : {" ", "\t \t"}) {
    wired_.setApiSecret(blanks);
    check(wired_);
    EXPECT_NE(server_.requests().back().sent.head.find("\r\nX-Archive-Secret:\r\n"),
              std::string::npos);
    EXPECT_TRUE(upload(wired_, file()).value) << "it is one";
    EXPECT_NE(server_.requests().back().sent.head.find("\r\nX-Archive-Secret:\r\n"),
              std::string::npos);
  }
}

TEST_F(CentralArchiveWire, ATokenOfBlanksIsAnEmptyField) {
  wired_.setUploadToken(" ");
  EXPECT_TRUE(upload(wired_, file()).value);
  EXPECT_NE(received().sent.head.find("\r\nX-Upload-Token:\r\n"), std::string::npos);
  EXPECT_EQ(received().sent.head.find("X-Archive-Secret"), std::string::npos);
}

TEST_F(CentralArchiveWire, BlanksAroundASecretAreSent) {
  wired_.setApiSecret(" sesame b ");
  check(wired_);
  EXPECT_NE(received().sent.head.find("\r\nX-Archive-Secret:  sesame b \r\n"), std::string::npos);
}

TEST_F(CentralArchiveWire, ATokenRequestIsTheseBytes) {
  EXPECT_EQ(requestToken(wired_, 7).value, "a-sesame");
  const ArchiveRequest request = received();
  EXPECT_EQ(
      request.sent.body,
      R"({"repository_url":"https://repo.example/","repository_type":"APT","package_count":7})");
  EXPECT_EQ(headOf(request), expectedHead(kTokenPage, "Content-Type: application/json\r\n",
                                          request.sent.body.size()));
}

TEST_F(CentralArchiveWire, AnUploadIsTheseBytes) {
  wired_.setUploadToken(kToken);
  EXPECT_TRUE(upload(wired_, file()).value);
  const ArchiveRequest request = received();
  EXPECT_EQ(headOf(request), expectedHead(kUploadPage,
                                          "X-Upload-Token: " + std::string(kToken) +
                                              "\r\nContent-Type: multipart/form-data; boundary=" +
                                              request.boundary + "\r\n",
                                          request.sent.body.size()));
  EXPECT_THAT(
      request.fields,
      ElementsAre(std::pair("repository_url", kRepository), std::pair("repository_type", "APT"),
                  std::pair("identifier", "com.example.tool"), std::pair("version", "1.2"),
                  std::pair("name", "Größe \"1\""), std::pair("filename", "tool_1.2.deb"),
                  std::pair("size", "22"), std::pair("original_url", "debs/tool.deb")));
  EXPECT_EQ(request.filename, "tool_1.2.deb");
  EXPECT_EQ(request.file, "the bytes of a package");
}

TEST_F(CentralArchiveWire, ALargeUploadArrivesWhole) {
  std::string bytes;
  for (int i = 0; bytes.size() < 20'000'000; ++i) bytes += std::to_string(i);
  EXPECT_TRUE(upload(wired_, file(bytes)).value);
  EXPECT_TRUE(received().file == bytes);
}

TEST_F(CentralArchiveWire, ALongListArrivesWhole) {
  std::vector<PackageEntry> packages(5000, package_);
  EXPECT_EQ(check(wired_, packages).error, std::nullopt);
  EXPECT_EQ(received().json["packages"].size(), 5000u);
}

TEST_F(CentralArchiveWire, CredentialsAreSentToNoOtherServer) {
  LoopbackServer other;
  other.onAnyOther(respond(200, R"({"ok":true,"upload_token":"sesame"})"));
  wired_.setUploadToken(kToken);
  const Error refused{"NSURLErrorDomain", -1010, "The redirect to localhost was not followed."};
  for (const int status : {301, 302, 303, 307, 308}) {
    answerAll(redirect(other.url("/taken", "localhost"), status));
    const CheckReply checked = check(wired_);
    EXPECT_EQ(checked.error, refused) << status << describe(checked.error);
    EXPECT_FALSE(checked.onCallersThread);
    EXPECT_EQ(requestToken(wired_).error, refused) << status;
    EXPECT_EQ(upload(wired_, file()).error, refused) << status;
  }
  EXPECT_THAT(other.requests(), IsEmpty());
  EXPECT_EQ(other.connectionsAccepted(), 0u);
  EXPECT_EQ(server_.requests().size(), 15u);
  EXPECT_THAT(log_.lines(), testing::Contains("[CentralArchive] HTTP status: 0"));
  EXPECT_THAT(log_.lines(), testing::Contains("[CentralArchive] Upload token HTTP status: 0"));
  EXPECT_THAT(log_.lines(), testing::Contains("[CentralArchive] Upload HTTP status: 0"));
  EXPECT_EQ(wired_.uploadToken(), kToken);
}

TEST_F(CentralArchiveWire, AnotherPortOrAnotherSchemeIsAnotherOrigin) {
  LoopbackServer other;
  other.onAnyOther(respond(200, R"({"ok":true,"upload_token":"sesame"})"));
  wired_.setUploadToken(kToken);
  const std::string secure = "https" + server_.baseURL().substr(4);
  const Error refused{"NSURLErrorDomain", -1010, "The redirect to 127.0.0.1 was not followed."};
  for (const std::string& place : {other.url("/taken"), secure}) {
    for (const int status : {307, 308}) {
      answerAll(redirect(place, status));
      EXPECT_EQ(check(wired_).error, refused) << place;
      EXPECT_EQ(requestToken(wired_).error, refused) << place;
      EXPECT_EQ(upload(wired_, file()).error, refused) << place;
    }
  }
  EXPECT_EQ(other.connectionsAccepted(), 0u);
  EXPECT_EQ(server_.requests().size(), 12u);
}

TEST_F(CentralArchiveWire, ARedirectToABadAddressIsRefusedUnderItsHost) {
  const Error refused{"NSURLErrorDomain", -1010, "The redirect to other.example was not followed."};
  answerAll(redirect("http://other.example/a|b c", 307));
  EXPECT_EQ(check(wired_).error, refused);
  EXPECT_EQ(requestToken(wired_).error, refused);
  EXPECT_EQ(upload(wired_, file()).error, refused);
}

TEST_F(CentralArchiveWire, RedirectsWithoutEndAreATransportErrorWithoutAStatus) {
  answerAll(redirect("?", 307));
  const Error refused{"NSURLErrorDomain", -1010, "The redirect to 127.0.0.1 was not followed."};
  EXPECT_EQ(check(wired_).error, refused);
  EXPECT_EQ(requestToken(wired_).error, refused);
  EXPECT_EQ(upload(wired_, file()).error, refused);
  EXPECT_THAT(log_.lines(), testing::IsSupersetOf({"[CentralArchive] HTTP status: 0",
                                                   "[CentralArchive] Upload token HTTP status: 0",
                                                   "[CentralArchive] Upload HTTP status: 0"}));
}

TEST_F(CentralArchiveWire, ARedirectThatDropsTheBodyIsNoSuccess) {
  for (const int status : {301, 302, 303}) {
    server_.answer(kUploadPage, redirect(kCheckPage, status, R"({"ok":true})"));
    const UploadReply reply = upload(wired_, file());
    EXPECT_FALSE(reply.value) << status;
    EXPECT_EQ(reply.error,
              (Error{"NSURLErrorDomain", -1010, "The redirect to 127.0.0.1 was not followed."}))
        << status;
  }
  EXPECT_EQ(server_.requests().size(), 3u);
}

TEST_F(CentralArchiveWire, ARedirectWithinTheServerRepeatsTheRequestWhole) {
  for (const int status : {307, 308}) {
    for (const char* page : {kCheckPage, kTokenPage, kUploadPage}) {
      server_.answer(page, inTurn({redirect(page, status),
                                   respond(200, R"({"ok":true,"upload_token":"sesame"})")}));
    }
    CentralArchiveClient client(server_.baseURL(), kSecret);
    EXPECT_TRUE(upload(client, file()).value) << status;
    EXPECT_EQ(check(client, {package_}).error, std::nullopt) << status;
    EXPECT_EQ(requestToken(client).value, "sesame") << status;
  }
  const auto requests = server_.requests();
  ASSERT_EQ(requests.size(), 12u);
  for (std::size_t i = 0; i < requests.size(); i += 2) {
    EXPECT_EQ(requests[i].fault, "");
    EXPECT_EQ(requests[i].sent.head, requests[i + 1].sent.head);
    EXPECT_EQ(requests[i].sent.body, requests[i + 1].sent.body);
    EXPECT_NE(requests[i].sent.body, "");
  }
}

TEST_F(CentralArchiveWire, ARedirectWithoutALocationIsAnAnswer) {
  server_.answer(kUploadPage, respond(302, R"({"ok":true})"));
  EXPECT_TRUE(upload(wired_, file()).value);
  EXPECT_THAT(log_.lines(), testing::Contains("[CentralArchive] Upload HTTP status: 302"));
}

TEST_F(CentralArchiveWire, AnUploadThatGetsNoAnswerIsLostAndNotSentAgain) {
  server_.answer(kUploadPage, hangUp());
  check(wired_);  // leaves no connection that an upload would use
  const UploadReply reply = upload(wired_, file());
  EXPECT_FALSE(reply.value);
  EXPECT_EQ(reply.error, (Error{"NSURLErrorDomain", -1005, "The network connection was lost."}));
  EXPECT_EQ(server_.requests().size(), 2u);
}

TEST_F(CentralArchiveWire, AnAnswerBeforeTheWholeWasSentIsNoSuccess) {
  const Error lost{"NSURLErrorDomain", -1005,
                   "The server answered before the whole request was sent."};
  package_.setVersion(std::string(12'000'000, '1'));  // more than a socket takes at once
  for (const int status : {200, 400, 500}) {
    LoopbackServer hasty;
    for (const char* page : {"/check_repo.php", "/upload_package.php"}) {
      hasty.onHead(page, respondAtOnce(status, R"({"ok":true})"));
    }
    wired_.setApiBaseURL(hasty.url(""));
    EXPECT_EQ(check(wired_, {package_}).error, lost) << status;
    const UploadReply reply = upload(wired_, file());
    EXPECT_FALSE(reply.value);
    EXPECT_EQ(reply.error, lost) << status;
    EXPECT_THAT(log_.messages(),
                testing::Contains("error: Central archive check failed: " + lost.description));
    EXPECT_EQ(log_.lines().back(), "[CentralArchive] Upload request error: " + describe(lost));
  }
}

TEST_F(CentralArchiveWire, ARefusalBeforeTheWholeWasSentIsInTheServersWords) {
  LoopbackServer hasty;
  hasty.onHead("/upload_package.php", respondAtOnce(413, R"({"ok":false,"error":"Too large"})"));
  wired_.setApiBaseURL(hasty.url(""));
  EXPECT_EQ(upload(wired_, file(std::string(12'000'000, 'x'))).error,
            archiveError(2004, "Too large"));
}

TEST_F(CentralArchiveWire, AnAnswerCutShortIsATransportError) {
  const std::string body = R"({"ok":true,"upload_token":"sesame"})";
  answerAll(cutOff(body, body.size() - 1));
  EXPECT_EQ(check(wired_).error->code, -1005);
  EXPECT_EQ(requestToken(wired_).error->code, -1005);
  const UploadReply reply = upload(wired_, file());
  EXPECT_EQ(reply.error->code, -1005);
  EXPECT_FALSE(reply.value);
  EXPECT_EQ(log_.lines().at(log_.lines().size() - 3), "[CentralArchive] Upload HTTP status: 200");
}

TEST_F(CentralArchiveWire, AServerThatIsNotThereIsATransportError) {
  wired_.setApiBaseURL("http://127.0.0.1:1");
  const CheckReply reply = check(wired_);
  EXPECT_EQ(reply.error->code, -1004);
  EXPECT_FALSE(reply.onCallersThread);
}

TEST_F(CentralArchiveWire, AServerWithACertificateOfItsOwnIsATransportError) {
  if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  const NginxServer server;
  wired_.setApiBaseURL(server.secureURL("/central_archive/archive-api"));
  EXPECT_EQ(check(wired_).error->code, -1202);
  EXPECT_EQ(requestToken(wired_).error->code, -1202);
  EXPECT_EQ(upload(wired_, file()).error->code, -1202);
  EXPECT_TRUE(server.accesses().empty());
}

TEST_F(CentralArchiveWire, AnAddressWithoutASchemeIsATransportError) {
  wired_.setApiBaseURL("");
  const CheckReply reply = check(wired_);
  EXPECT_EQ(reply.error, (Error{"NSURLErrorDomain", -1002, "unsupported URL"}));
  EXPECT_FALSE(reply.onCallersThread);
  EXPECT_EQ(log_.lines().at(0), "[CentralArchive] Check endpoint: /check_repo.php");
}

TEST_F(CentralArchiveWire, AnAnswerOfMegabytesIsRead) {
  server_.answer(kCheckPage, respond(200, R"({"ok":true,"missing_packages":[")" +
                                              std::string(3'000'000, 'x') + "\"]}"));
  const CheckReply reply = check(wired_);
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(reply.value.size(), 1u);
}

TEST_F(CentralArchiveWire, AnAnswerOfAHundredMegabytesOfListsIsAParseError) {
  std::string body = "[0";
  while (body.size() < 100'000'000) body += ",[],{},0";
  server_.answer(kCheckPage, respond(200, body + "]"));
  EXPECT_EQ(check(wired_).error->code, 3840);
}

TEST_F(CentralArchiveWire, AnAnswerOfMoreThan128MiBIsATransportError) {
  server_.answer(kCheckPage, respond(200, std::string((std::size_t{128} << 20) + 1, ' ')));
  EXPECT_EQ(check(wired_).error->code, -1103);
}

}  // namespace

}  // namespace tolvane
