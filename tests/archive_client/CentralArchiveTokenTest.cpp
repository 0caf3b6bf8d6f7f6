// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "base/NotificationCenter.h"
#include "model/CrawlerLogger.h"
#include "tests/archive_client/ArchiveFixture.h"

namespace tolvane {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

class CentralArchiveToken : public ArchiveFixture {
 protected:
  // The reply to a request for a token, on a background thread.
  TokenReply answered(ScriptedAnswer answer) {
    session_.answerNext(std::move(answer));
    TokenReply reply = requestToken(client_);
    EXPECT_FALSE(reply.onCallersThread);
    return reply;
  }

  TokenReply answered(std::string body) { return answered({200, std::move(body)}); }

  // No token, this error, and exactly one line of each kind besides those of every request.
  void expectFailure(const TokenReply& reply, const std::optional<Error>& error,
                     const std::string& message, int status = 200) {
    EXPECT_EQ(reply.value, std::nullopt);
    EXPECT_EQ(reply.error, error) << describe(reply.error);
    EXPECT_THAT(log_.messages(),
                ElementsAre("info: Requesting upload token for 3 package(s)", "error: " + message));
    EXPECT_THAT(log_.lines(), ElementsAre("[CentralArchive] Upload token HTTP status: " +
                                          std::to_string(status)));
    EXPECT_EQ(client_.uploadToken(), "");
  }

  void expectNoToken(const std::string& body) {
    expectFailure(answered(body),
                  archiveError(3005, "Upload token response did not contain a token."),
                  "Upload token response did not contain a token.");
  }

  static std::string success() {
    return R"({"ok":true,"upload_token":")" + std::string(kToken) + "\"}";
  }
};

TEST_F(CentralArchiveToken, IsAskedForWithoutACredential) {
  client_.setUploadToken("an-older-sesame");
  answered(success());
  const ScriptedRequest request = session_.requests().at(0);
  EXPECT_EQ(request.url, "https://archive.example/api/request_upload_token.php");
  EXPECT_EQ(
      request.headers,
      (std::vector<std::pair<std::string, std::string>>{{"Content-Type", "application/json"}}));
}

TEST_F(CentralArchiveToken, IsAskedForWithExactlyThreeMembers) {
  session_.answerNext({200, success()});
  requestToken(client_, 12, "Installer3");
  EXPECT_EQ(
      session_.requests().at(0).body,
      R"({"repository_url":"https://repo.example/","repository_type":"Installer3","package_count":12})");
  session_.answerNext({200, success()});
  requestToken(client_, 0, std::nullopt);
  EXPECT_EQ(
      session_.requests().at(1).body,
      R"({"repository_url":"https://repo.example/","repository_type":"APT","package_count":0})");
}

TEST_F(CentralArchiveToken, IsWaitedForAMinuteForBytesAndTwoForTheAnswer) {
  answered(success());
  EXPECT_EQ(session_.configurations().at(0).timeoutIntervalForRequest, std::chrono::seconds(60));
  EXPECT_EQ(session_.configurations().at(0).timeoutIntervalForResource, std::chrono::seconds(120));
}

TEST_F(CentralArchiveToken, IsReturnedKeptAndLogged) {
  const TokenReply reply = answered(success());
  EXPECT_EQ(reply.value, kToken);
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(client_.uploadToken(), kToken);
  EXPECT_THAT(log_.messages(), ElementsAre("info: Requesting upload token for 3 package(s)",
                                           "success: Upload token received."));
  EXPECT_THAT(log_.lines(), ElementsAre("[CentralArchive] Upload token HTTP status: 200"));
}

TEST_F(CentralArchiveToken, IsKeptBeforeTheCompletionIsCalled) {
  session_.answerNext({200, success()});
  std::promise<std::string> kept;
  client_.requestUploadTokenForRepositoryURL(kRepository, "APT", 1, [&](const auto&, const auto&) {
    kept.set_value(client_.uploadToken());
  });
  EXPECT_EQ(kept.get_future().get(), kToken);
}

TEST_F(CentralArchiveToken, IsKeptBeforeItIsLogged) {
  session_.answerNext({200, success()});
  std::vector<std::string> keptWhenTold;
  const auto observer = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification,
      [&](const UserInfo&) { keptWhenTold.push_back(client_.uploadToken()); });
  requestToken(client_);
  EXPECT_THAT(keptWhenTold, ElementsAre("", kToken)) << "of the request and of the token";
}

TEST_F(CentralArchiveToken, IsLoggedBeforeTheCompletionIsCalled) {
  session_.answerNext({200, success()});
  std::promise<std::vector<std::string>> logged;
  client_.requestUploadTokenForRepositoryURL(
      kRepository, "APT", 1, [&](const auto&, const auto&) { logged.set_value(log_.reports()); });
  EXPECT_THAT(logged.get_future().get(),
              ElementsAre("info: Requesting upload token for 1 package(s)",
                          "[CentralArchive] Upload token HTTP status: 200",
                          "success: Upload token received."));
}

TEST_F(CentralArchiveToken, FailuresAreWrittenToBothLogsInThisOrder) {
  for (const ScriptedAnswer& answer :
       {timeout(), ScriptedAnswer{0, ""}, ScriptedAnswer{0, "?"}, ScriptedAnswer{0, "[]"},
        ScriptedAnswer{0, "{}"}, ScriptedAnswer{0, R"({"ok":true})"}}) {
    const LogRecorder log;
    answered(answer);
    EXPECT_THAT(log.reports(), ElementsAre("info: Requesting upload token for 3 package(s)",
                                           "[CentralArchive] Upload token HTTP status: 0",
                                           testing::StartsWith("error: ")));
  }
}

TEST_F(CentralArchiveToken, IsReadWhateverTheStatus) {
  EXPECT_EQ(answered({503, success()}).value, kToken);
  EXPECT_THAT(log_.lines(), ElementsAre("[CentralArchive] Upload token HTTP status: 503"));
}

TEST_F(CentralArchiveToken, ReplacesTheOneBefore) {
  client_.setUploadToken("an-older-sesame");
  answered(success());
  EXPECT_EQ(client_.uploadToken(), kToken);
}

TEST_F(CentralArchiveToken, StaysWhenALaterRequestFails) {
  client_.setUploadToken(kToken);
  for (const ScriptedAnswer& answer :
       {timeout(), ScriptedAnswer{200, ""}, ScriptedAnswer{200, "?"}, ScriptedAnswer{200, "{}"},
        ScriptedAnswer{200, R"({"ok":true,"upload_token":""})"}}) {
    EXPECT_EQ(answered(answer).value, std::nullopt);
    EXPECT_EQ(client_.uploadToken(), kToken);
  }
}

TEST_F(CentralArchiveToken, TheServersOkIsReadByTheRuleForStrings) {
  EXPECT_EQ(answered(R"({"ok":" yes","upload_token":")" + std::string(kToken) + "\"}").value,
            kToken);
  EXPECT_EQ(answered(R"({"ok":"1","upload_token":")" + std::string(kToken) + "\"}").value, kToken);
  EXPECT_EQ(answered(R"({"ok":"no","upload_token":"sesame"})").error->code, 3004);
  EXPECT_EQ(answered(R"({"ok":"0","upload_token":"sesame"})").error->code, 3004);
}

TEST_F(CentralArchiveToken, AnInvalidAddressFailsAtOnce) {
  client_.setApiBaseURL("https://archive example");
  const TokenReply reply = requestToken(client_);
  EXPECT_TRUE(reply.onCallersThread);
  EXPECT_EQ(reply.value, std::nullopt);
  EXPECT_EQ(reply.error, archiveError(3001, "Invalid upload token API URL."));
  EXPECT_THAT(log_.messages(), ElementsAre("error: Invalid upload token API URL."));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(CentralArchiveToken, AStringThatIsNotUTF8FailsAtOnce) {
  const TokenReply reply = requestToken(client_, 3, "\xFF");
  EXPECT_TRUE(reply.onCallersThread);
  EXPECT_EQ(reply.value, std::nullopt);
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(reply.error->code, 3852);
  EXPECT_THAT(log_.messages(), ElementsAre("error: Could not encode upload token request."));
  EXPECT_THAT(log_.lines(), IsEmpty());
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(CentralArchiveToken, ARepositoryThatIsNotUnicodeFailsAtOnce) {
  std::optional<Error> failure;
  client_.requestUploadTokenForRepositoryURL("https://\xFF.example/", "APT", 3,
                                             [&failure](const auto& token, auto error) {
                                               EXPECT_EQ(token, std::nullopt);
                                               failure = std::move(error);
                                             });
  ASSERT_TRUE(failure) << "at once";
  EXPECT_EQ(failure->code, 3852);
  EXPECT_THAT(log_.reports(), ElementsAre("error: Could not encode upload token request."));
  EXPECT_THAT(session_.requests(), IsEmpty());
}

TEST_F(CentralArchiveToken, ATransportErrorIsHandedOn) {
  expectFailure(answered(timeout()), Error{"NSURLErrorDomain", -1001, "The request timed out."},
                "Upload token request failed: The request timed out.", 0);
}

TEST_F(CentralArchiveToken, AnErrorWithoutADescriptionIsUnknown) {
  expectFailure(answered(failingAnswer(-1, "")), Error{"NSURLErrorDomain", -1, ""},
                "Upload token request failed: Unknown error", 0);
}

TEST_F(CentralArchiveToken, AnEmptyAnswerIsError3003) {
  expectFailure(answered(""),
                archiveError(3003, "Upload token request returned an empty response."),
                "Upload token request returned an empty response.");
}

TEST_F(CentralArchiveToken, AnAnswerThatIsNotJSONIsTheParseErrorWithoutAPreview) {
  const TokenReply reply = answered("<html>");
  ASSERT_TRUE(reply.error);
  EXPECT_EQ(reply.error->domain, "NSCocoaErrorDomain");
  EXPECT_EQ(reply.error->code, 3840);
  expectFailure(reply, reply.error, reply.error->description);
}

TEST_F(CentralArchiveToken, ValidJSONOtherThanAnObjectIsNeitherTokenNorError) {
  expectFailure(answered("[]"), std::nullopt, "Upload token response was not a JSON dictionary.");
}

TEST_F(CentralArchiveToken, ARefusalWithoutAMessageIsError3004) {
  expectFailure(answered(R"({"ok":false,"upload_token":"sesame"})"),
                archiveError(3004, "Upload token request failed."),
                "Upload token API error: Upload token request failed.");
}

TEST_F(CentralArchiveToken, ARefusalIsError3004InTheServersWords) {
  expectFailure(answered(R"({"error":"Not today"})"), archiveError(3004, "Not today"),
                "Upload token API error: Not today");
}

TEST_F(CentralArchiveToken, ANumberIsNone) {
  expectNoToken(R"({"ok":true,"upload_token":12})");
}

TEST_F(CentralArchiveToken, AnEmptyStringIsNone) {
  expectNoToken(R"({"ok":true,"upload_token":""})");
}

TEST_F(CentralArchiveToken, AStringThatNoHeaderFieldCanCarryIsNone) {
  for (const std::string& token : unsendable()) {
    const LogRecorder log;
    const TokenReply reply = answered(nlohmann::json{{"ok", true}, {"upload_token", token}}.dump());
    EXPECT_EQ(reply.value, std::nullopt);
    EXPECT_EQ(reply.error, archiveError(3005, "Upload token response did not contain a token."));
    EXPECT_EQ(log.messages().back(), "error: Upload token response did not contain a token.");
    EXPECT_EQ(client_.uploadToken(), "");
  }
}

TEST_F(CentralArchiveToken, NothingIsNone) {
  expectNoToken(R"({"ok":true})");
}

TEST_F(CentralArchiveToken, AListIsNone) {
  expectNoToken(R"({"ok":true,"upload_token":["sesame"]})");
}

}  // namespace

}  // namespace tolvane
