// SPDX-License-Identifier: MIT
#include <cstdio>
#include <sys/stat.h>

#include "base/File.h"
#include "tests/archive_client/ArchiveFixture.h"

namespace tolvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What an upload sends, and what becomes of it.
class CentralArchiveUpload : public ArchiveFixture {
 protected:
  using Fields = std::vector<std::pair<std::string, std::string>>;

  UploadReply answered(ScriptedAnswer answer) {
    session_.answerNext(std::move(answer));
    UploadReply reply = upload(client_, file());
    EXPECT_FALSE(reply.onCallersThread);
    return reply;
  }

  UploadReply answered(std::string body) { return answered({200, std::move(body)}); }

  std::string boundaryOf(std::size_t request) const {
    const std::string type = session_.requests().at(request).headers.at(1).second;
    const std::string begin = "multipart/form-data; boundary=";
    EXPECT_TRUE(type.starts_with(begin)) << type;
    return type.substr(begin.size());
  }

  std::vector<std::string> credentials() const {
    const ScriptedRequest request = session_.requests().back();
    std::vector<std::string> names;
    for (const auto& [name, value] : request.headers) {
      if (name != "Content-Type") names.push_back(name + ": " + value);
    }
    return names;
  }

  // That nothing was sent and nothing written to the system log.
  void expectNothingSent(const UploadReply& reply, const Error& error) {
    EXPECT_TRUE(reply.onCallersThread);
    EXPECT_FALSE(reply.value);
    EXPECT_EQ(reply.error, error);
    EXPECT_THAT(session_.requests(), IsEmpty());
    EXPECT_THAT(log_.lines(), IsEmpty());
  }

  // That it failed, and the lines of the system log about the answer. The log bus has none.
  void expectFailure(const UploadReply& reply, const std::optional<Error>& error,
                     const std::vector<std::string>& lines) {
    EXPECT_FALSE(reply.value);
    EXPECT_EQ(reply.error, error) << describe(reply.error);
    std::vector<std::string> all = {"[CentralArchive] Uploading tool_1.2.deb (22 bytes)"};
    all.insert(all.end(), lines.begin(), lines.end());
    EXPECT_EQ(log_.lines(), all);
    EXPECT_THAT(log_.messages(), IsEmpty());
  }

  static std::string status(int status) {
    return "[CentralArchive] Upload HTTP status: " + std::to_string(status);
  }
  static std::string bytes(std::size_t count) {
    return "[CentralArchive] Upload response bytes: " + std::to_string(count);
  }

  static Error notConfigured() {
    return archiveError(2000, "Central archive upload is not configured.");
  }

  static Error unreadable() {
    return archiveError(2002, "Could not read local package file for upload.");
  }
};

TEST(CentralArchiveForm, AFieldIsWrittenAsItIs) {
  std::string body = "before";
  CentralArchiveClient::appendFormField("na\"me", "a\r\n\"b\"", "BOUNDARY", body);
  EXPECT_EQ(
      body,
      "before--BOUNDARY\r\nContent-Disposition: form-data; name=\"na\"me\"\r\n\r\na\r\n\"b\"\r\n");
}

TEST(CentralArchiveForm, AnEmptyValueLeavesItsLineEmpty) {
  std::string body;
  CentralArchiveClient::appendFormField("size", "", "B", body);
  EXPECT_EQ(body, "--B\r\nContent-Disposition: form-data; name=\"size\"\r\n\r\n\r\n");
}

TEST_F(CentralArchiveUpload, IsAMultipartFormInThisOrderOfBytes) {
  package_ = PackageEntry(PackageEntry::Dictionary{{"Package", "com.example.tool"},
                                                   {"Name", "Größe"},
                                                   {"Version", "1.2"},
                                                   {"Size", "12 kB"},
                                                   {"Filename", "debs/another.deb"}});
  session_.answerNext({200, R"({"ok":true})"});
  upload(client_, file(std::string("\0\r\n--x\xFF", 7)), "Installer4");
  const ScriptedRequest request = session_.requests().at(0);
  EXPECT_EQ(request.url, "https://archive.example/api/upload_package.php");
  const std::string boundary = boundaryOf(0);
  std::string body;
  for (const auto& [name, value] : Fields{{"repository_url", "https://repo.example/"},
                                          {"repository_type", "Installer4"},
                                          {"identifier", "com.example.tool"},
                                          {"version", "1.2"},
                                          {"name", "Größe"},
                                          {"filename", "tool_1.2.deb"},
                                          {"size", "12 kB"},
                                          {"original_url", "debs/another.deb"}}) {
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + name + "\"\r\n\r\n" +
            value + "\r\n";
  }
  body += "--" + boundary +
          "\r\nContent-Disposition: form-data; name=\"package_file\"; filename=\"tool_1.2.deb\"\r\n"
          "Content-Type: application/octet-stream\r\n\r\n" +
          std::string("\0\r\n--x\xFF", 7) + "\r\n--" + boundary + "--\r\n";
  EXPECT_EQ(request.body, body);
}

TEST_F(CentralArchiveUpload, SendsTheDownloadURLWhereThereIsOne) {
  package_.setFilename("debs/tool.deb");
  package_.setDownloadURL("https://repo.example/debs/tool.deb");
  answered(R"({"ok":true})");
  EXPECT_NE(session_.requests().at(0).body->find(
                "name=\"original_url\"\r\n\r\nhttps://repo.example/debs/tool.deb\r\n"),
            std::string::npos);
}

TEST_F(CentralArchiveUpload, SendsAPTForNoTypeAndTheIdentifierForNoName) {
  package_ = PackageEntry(PackageEntry::Dictionary{{"Package", "tool"}});
  session_.answerNext({200, R"({"ok":true})"});
  upload(client_, file(), std::nullopt);
  const std::string body = session_.requests().at(0).body.value();
  EXPECT_NE(body.find("name=\"repository_type\"\r\n\r\nAPT\r\n"), std::string::npos);
  EXPECT_NE(body.find("name=\"name\"\r\n\r\ntool\r\n"), std::string::npos);
  EXPECT_NE(body.find("name=\"version\"\r\n\r\n\r\n"), std::string::npos);
}

TEST_F(CentralArchiveUpload, TwoOfOneFileHaveTwoBoundaries) {
  answered(R"({"ok":true})");
  answered(R"({"ok":true})");
  for (const std::size_t request : {0u, 1u}) {
    EXPECT_THAT(boundaryOf(request),
                testing::MatchesRegex("----TolvaneBoundary-[0-9A-F]{8}-[0-9A-F]{4}-"
                                      "[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}"));
  }
  EXPECT_NE(boundaryOf(0), boundaryOf(1));
}

TEST_F(CentralArchiveUpload, CarriesTheTokenAloneWhereThereIsOne) {
  client_.setUploadToken(kToken);
  answered(R"({"ok":true})");
  EXPECT_THAT(credentials(), ElementsAre("X-Upload-Token: " + std::string(kToken)));
  EXPECT_EQ(session_.requests().at(0).headers.at(0).first, "X-Upload-Token") << "it comes first";
}

TEST_F(CentralArchiveUpload, CarriesTheTokenWithoutASecretToo) {
  client_.setApiSecret("");
  client_.setUploadToken(kToken);
  EXPECT_TRUE(answered(R"({"ok":true})").value);
  EXPECT_THAT(credentials(), ElementsAre("X-Upload-Token: " + std::string(kToken)));
}

TEST_F(CentralArchiveUpload, CarriesTheSecretAloneWhereThereIsNoToken) {
  answered(R"({"ok":true})");
  EXPECT_THAT(credentials(), ElementsAre("X-Archive-Secret: " + std::string(kSecret)));
  EXPECT_EQ(session_.requests().at(0).headers.at(0).first, "X-Archive-Secret") << "it comes first";
  EXPECT_EQ(session_.requests().at(0).headers.size(), 2u);
}

TEST_F(CentralArchiveUpload, CarriesTheTokenThatWasAskedFor) {
  session_.answerNext({200, R"({"ok":true,"upload_token":")" + std::string(kToken) + "\"}"});
  requestToken(client_);
  answered(R"({"ok":true})");
  EXPECT_THAT(credentials(), ElementsAre("X-Upload-Token: " + std::string(kToken)));
}

TEST_F(CentralArchiveUpload, UnderATokenThatNoFieldCanCarryIsNotConfigured) {
  for (const std::string& token : unsendable()) {
    client_.setUploadToken(token);
    expectNothingSent(upload(client_, folder_.path("no such file")), notConfigured());
    EXPECT_EQ(log_.messages().back(), "warning: Central archive upload is not configured.");
  }
  EXPECT_EQ(log_.messages().size(), unsendable().size());
}

TEST_F(CentralArchiveUpload, UnderASecretThatNoFieldCanCarryIsNotConfigured) {
  for (const std::string& secret : unsendable()) {
    client_.setApiSecret(secret);
    expectNothingSent(upload(client_, folder_.path("no such file")), notConfigured());
  }
}

TEST_F(CentralArchiveUpload, UnderATokenNeedsNoSecretThatCanBeSent) {
  client_.setApiSecret("sesame\nb");
  client_.setUploadToken(kToken);
  EXPECT_TRUE(answered(R"({"ok":true})").value);
  EXPECT_THAT(credentials(), ElementsAre("X-Upload-Token: " + std::string(kToken)));
}

TEST_F(CentralArchiveUpload, WaitsTwoMinutesForBytesAndTenForTheWhole) {
  answered(R"({"ok":true})");
  answered(R"({"ok":true})");
  ASSERT_EQ(session_.configurations().size(), 2u) << "a session for each request";
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForRequest, std::chrono::seconds(120));
  EXPECT_EQ(session_.configurations()[0].timeoutIntervalForResource, std::chrono::seconds(600));
}

TEST_F(CentralArchiveUpload, OfAnEmptyFileIsSent) {
  session_.answerNext({200, R"({"ok":true})"});
  EXPECT_TRUE(upload(client_, file("")).value);
  EXPECT_EQ(log_.lines().at(0), "[CentralArchive] Uploading tool_1.2.deb (0 bytes)");
  EXPECT_NE(
      session_.requests().at(0).body->find("octet-stream\r\n\r\n\r\n--" + boundaryOf(0) + "--\r\n"),
      std::string::npos);
}

TEST_F(CentralArchiveUpload, NamesAreWrittenAsTheyAre) {
  const std::string name = "a \"b\"\r\nc.deb";
  session_.answerNext({200, R"({"ok":true})"});
  EXPECT_TRUE(upload(client_, folder_.write(name, "x")).value);
  EXPECT_NE(session_.requests().at(0).body->find("; filename=\"" + name + "\"\r\n"),
            std::string::npos);
}

TEST_F(CentralArchiveUpload, StringsThatAreNotUTF8AreSentUnchanged) {
  package_.setVersion("1.\xFF");
  package_.setDisplayName("\xED\xA0\x80");
  const std::string name = "t\xF6ol.deb";
  session_.answerNext({200, R"({"ok":true})"});
  EXPECT_TRUE(upload(client_, folder_.write(name, "x")).value);
  const std::string body = session_.requests().at(0).body.value();
  for (const std::string part :
       {"name=\"version\"\r\n\r\n1.\xFF\r\n", "name=\"name\"\r\n\r\n\xED\xA0\x80\r\n",
        "name=\"filename\"\r\n\r\nt\xF6ol.deb\r\n", "; filename=\"t\xF6ol.deb\"\r\n"}) {
    EXPECT_NE(body.find(part), std::string::npos) << part;
  }
}

TEST_F(CentralArchiveUpload, WithoutTokenAndSecretFailsBeforeTheFileIsRead) {
  client_.setApiSecret("");
  expectNothingSent(upload(client_, folder_.path("no such file")), notConfigured());
  EXPECT_THAT(log_.messages(), ElementsAre("warning: Central archive upload is not configured."));
}

TEST_F(CentralArchiveUpload, IsTestedForItsCredentialBeforeItsAddress) {
  client_.setApiSecret("");
  client_.setApiBaseURL("https://archive example");
  EXPECT_EQ(upload(client_, file()).error->code, 2000);
}

TEST_F(CentralArchiveUpload, ToAnInvalidAddressFailsBeforeTheFileIsRead) {
  client_.setApiBaseURL("https://archive example");
  expectNothingSent(upload(client_, folder_.path("no such file")),
                    archiveError(2001, "Invalid central archive upload URL."));
  EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(CentralArchiveUpload, OfAFileThatHasVanishedFails) {
  const std::string path = file();
  std::remove(path.c_str());
  expectNothingSent(upload(client_, path), unreadable());
  EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(CentralArchiveUpload, OfAFileThatHasShrunkSendsWhatIsLeft) {
  const std::string path = "/sys/devices/system/cpu/online";  // has a size of 4096 in stat()
  std::string left;
  if (appendFile(path, left)) GTEST_SKIP() << path << " is not there";
  session_.answerNext({200, R"({"ok":true})"});
  EXPECT_TRUE(upload(client_, path).value);
  EXPECT_EQ(log_.lines().at(0),
            "[CentralArchive] Uploading online (" + std::to_string(left.size()) + " bytes)");
  EXPECT_NE(session_.requests().at(0).body->find("octet-stream\r\n\r\n" + left + "\r\n--" +
                                                 boundaryOf(0) + "--\r\n"),
            std::string::npos);
}

TEST_F(CentralArchiveUpload, OfWhatIsNoFileFails) {
  const std::string pipe = folder_.path("pipe");
  mkfifo(pipe.c_str(), 0600);
  for (const std::string& path : {folder_.path(), pipe, std::string(), std::string("/")}) {
    expectNothingSent(upload(client_, path), unreadable());
  }
}

TEST_F(CentralArchiveUpload, ReportsASuccessOnTheSystemLogAlone) {
  const UploadReply reply = answered({500, R"({"ok":true,"error":"ignored","more":1})"});
  EXPECT_TRUE(reply.value);
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_THAT(log_.messages(), IsEmpty());
  EXPECT_THAT(log_.lines(), ElementsAre("[CentralArchive] Uploading tool_1.2.deb (22 bytes)",
                                        status(500), bytes(38)));
}

TEST_F(CentralArchiveUpload, ATransportErrorIsHandedOn) {
  expectFailure(answered(timeout()), Error{"NSURLErrorDomain", -1001, "The request timed out."},
                {status(0), bytes(0),
                 "[CentralArchive] Upload request error: Error Domain=NSURLErrorDomain Code=-1001 "
                 "\"The request timed out.\""});
}

TEST_F(CentralArchiveUpload, AnEmptyAnswerIsError2003) {
  expectFailure(answered(""),
                archiveError(2003, "Central archive upload returned an empty response."),
                {status(200), bytes(0)});
}

TEST_F(CentralArchiveUpload, AnAnswerThatIsNotJSONIsTheParseErrorWithTheWholePreview) {
  const std::string body(2000, 'x');
  const UploadReply reply = answered(body);
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(reply.error->code, 3840);
  expectFailure(
      reply, reply.error,
      {status(200), bytes(2000), "[CentralArchive] Upload parse error: " + describe(reply.error),
       "[CentralArchive] Upload response preview: " + body});
}

TEST_F(CentralArchiveUpload, APreviewOfWhatIsNotUTF8IsANoticeOfThat) {
  const UploadReply reply = answered("\xFF");
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(log_.lines().back(), "[CentralArchive] Upload response preview: <non-utf8 response>");
}

TEST_F(CentralArchiveUpload, ValidJSONOtherThanAnObjectIsNeitherSuccessNorError) {
  expectFailure(answered("[true]"), std::nullopt,
                {status(200), bytes(6), "[CentralArchive] Upload parse error: (null)",
                 "[CentralArchive] Upload response preview: [true]"});
}

TEST_F(CentralArchiveUpload, ARefusalWithoutAMessageIsError2004) {
  expectFailure(answered(R"({"ok":0})"), archiveError(2004, "Central archive upload failed."),
                {status(200), bytes(8)});
}

TEST_F(CentralArchiveUpload, ARefusalIsError2004InTheServersWords) {
  expectFailure(answered({413, R"({"ok":false,"error":"Too large"})"}),
                archiveError(2004, "Too large"), {status(413), bytes(32)});
}

}  // namespace

}  // namespace tolvane
