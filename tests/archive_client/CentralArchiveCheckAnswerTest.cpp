// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>

#include "tests/archive_client/ArchiveFixture.h"

namespace tolvane {

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

// What the client makes of an answer to its check request. The records are of the answer alone.
class CentralArchiveCheckAnswer : public ArchiveFixture {
 protected:
  CheckReply checkAnswered(ScriptedAnswer answer) {
    session_.answerNext(std::move(answer));
    CheckReply reply = check(client_);
    EXPECT_FALSE(reply.onCallersThread);
    return reply;
  }

  CheckReply checkAnswered(std::string body) { return checkAnswered({200, std::move(body)}); }

  std::vector<std::string> answerMessages() const { return after(2, log_.messages()); }
  std::vector<std::string> answerLines() const { return after(5, log_.lines()); }

  // A parse error of the answer, and that it is logged as one.
  void expectParseError(const std::string& body, const std::string& preview) {
    const CheckReply reply = checkAnswered(body);
    ASSERT_TRUE(reply.error);
    EXPECT_EQ(reply.error->domain, "NSCocoaErrorDomain");
    EXPECT_EQ(reply.error->code, 3840);
    EXPECT_THAT(reply.value, IsEmpty());
    EXPECT_THAT(answerMessages(),
                ElementsAre("info: Central archive check HTTP status: 200",
                            "error: Central archive JSON parse error: " + reply.error->description,
                            "error: Central archive response was not a JSON dictionary."));
    EXPECT_THAT(answerLines(),
                ElementsAre("[CentralArchive] HTTP status: 200",
                            "[CentralArchive] Response bytes: " + std::to_string(body.size()),
                            "[CentralArchive] JSON parse error: " + describe(reply.error),
                            "[CentralArchive] Response preview: " + preview));
  }

  static std::vector<std::string> after(std::size_t count, std::vector<std::string> texts) {
    texts.erase(texts.begin(),
                texts.begin() + static_cast<std::ptrdiff_t>(std::min(count, texts.size())));
    return texts;
  }
};

TEST_F(CentralArchiveCheckAnswer, MissingPackagesAreHandedOnUnchanged) {
  const std::string list =
      R"([{"version":"1","identifier":"b","more":[null,{"x":1.5}]},"odd",{"identifier":"a"}])";
  const CheckReply reply = checkAnswered(R"({"ok":true,"missing_packages":)" + list + "}");
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_EQ(json(reply.value.entries()), json::parse(list));
}

TEST_F(CentralArchiveCheckAnswer, ASuccessWithoutAListMeansThatNothingIsMissing) {
  for (const char* body :
       {R"({"ok":true})", R"({"ok":true,"missing_packages":"x"})",
        R"({"ok":true,"missing_packages":null})", R"({"ok":true,"missing_packages":{}})",
        R"({"ok":true,"missing_packages":[]})", R"({"ok":true,"error":"x"})"}) {
    const CheckReply reply = checkAnswered(body);
    EXPECT_EQ(reply.error, std::nullopt) << body;
    EXPECT_THAT(reply.value, IsEmpty()) << body;
    EXPECT_EQ(log_.messages().back(),
              "success: Central archive check complete. Missing package(s): 0")
        << body;
  }
}

TEST_F(CentralArchiveCheckAnswer, IsWrittenToBothLogsInThisOrder) {
  const std::vector<std::pair<ScriptedAnswer, std::vector<std::string>>> answers = {
      {{200, R"({"ok":true,"missing_packages":[{}]})"},
       {"[CentralArchive] Missing package count from server: 1",
        "success: Central archive check complete. Missing package(s): 1"}},
      {{200, R"({"error":"No"})"},
       {"[CentralArchive] API error: No", "error: Central archive API error: No"}},
      {{200, "[]"}, {"error: Central archive response was not a JSON dictionary."}},
      {{200, ""},
       {"[CentralArchive] Empty response from server. HTTP status was: 200",
        "error: Central archive returned an empty response."}},
      {{200, "", Error{"NSURLErrorDomain", -1005, "lost"}},
       {"[CentralArchive] Request error: Error Domain=NSURLErrorDomain Code=-1005 \"lost\"",
        "error: Central archive check failed: lost"}},
  };
  for (const auto& [answer, reports] : answers) {
    const LogRecorder log;
    const std::string size = std::to_string(answer.body.size());
    checkAnswered(answer);
    std::vector<std::string> expected = {"[CentralArchive] HTTP status: 200",
                                         "info: Central archive check HTTP status: 200",
                                         "[CentralArchive] Response bytes: " + size};
    expected.insert(expected.end(), reports.begin(), reports.end());
    EXPECT_EQ(after(7, log.reports()), expected);
  }
}

TEST_F(CentralArchiveCheckAnswer, TheStatusDecidesNothing) {
  const CheckReply reply = checkAnswered({500, R"({"ok": true, "missing_packages": []})"});
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_THAT(answerMessages(),
              ElementsAre("info: Central archive check HTTP status: 500",
                          "success: Central archive check complete. Missing package(s): 0"));
  EXPECT_EQ(answerLines().at(0), "[CentralArchive] HTTP status: 500");
}

TEST_F(CentralArchiveCheckAnswer, ATransportErrorIsHandedOn) {
  const CheckReply reply = checkAnswered(timeout());
  EXPECT_EQ(reply.error, (Error{"NSURLErrorDomain", -1001, "The request timed out."}));
  EXPECT_THAT(reply.value, IsEmpty());
  EXPECT_THAT(answerMessages(),
              ElementsAre("info: Central archive check HTTP status: 0",
                          "error: Central archive check failed: The request timed out."));
  EXPECT_THAT(answerLines(),
              ElementsAre("[CentralArchive] HTTP status: 0", "[CentralArchive] Response bytes: 0",
                          "[CentralArchive] Request error: Error Domain=NSURLErrorDomain "
                          "Code=-1001 \"The request timed out.\""));
}

TEST_F(CentralArchiveCheckAnswer, ATransportErrorCountsWhateverElseCame) {
  const CheckReply reply =
      checkAnswered({200, R"({"ok":true})", Error{"NSURLErrorDomain", -1005, "lost"}});
  EXPECT_EQ(reply.error->code, -1005);
  EXPECT_EQ(answerLines().at(0), "[CentralArchive] HTTP status: 200");
}

TEST_F(CentralArchiveCheckAnswer, AnErrorWithoutADescriptionIsUnknown) {
  checkAnswered(failingAnswer(-1, ""));
  EXPECT_EQ(log_.messages().back(), "error: Central archive check failed: Unknown error");
}

TEST_F(CentralArchiveCheckAnswer, AnEmptyOneIsError1002) {
  const CheckReply reply = checkAnswered({204, ""});
  EXPECT_EQ(reply.error, archiveError(1002, "Central archive returned an empty response."));
  EXPECT_THAT(reply.value, IsEmpty());
  EXPECT_THAT(answerMessages(), ElementsAre("info: Central archive check HTTP status: 204",
                                            "error: Central archive returned an empty response."));
  EXPECT_THAT(answerLines(),
              ElementsAre("[CentralArchive] HTTP status: 204", "[CentralArchive] Response bytes: 0",
                          "[CentralArchive] Empty response from server. HTTP status was: 204"));
}

TEST_F(CentralArchiveCheckAnswer, ARefusalWithoutAMessageIsError1003) {
  const CheckReply reply = checkAnswered(R"({"ok": false, "missing_packages": [{}]})");
  EXPECT_EQ(reply.error, archiveError(1003, "Central archive check failed."));
  EXPECT_THAT(reply.value, IsEmpty());
  EXPECT_THAT(answerMessages(),
              ElementsAre("info: Central archive check HTTP status: 200",
                          "error: Central archive API error: Central archive check failed."));
  EXPECT_EQ(answerLines().back(), "[CentralArchive] API error: Central archive check failed.");
  EXPECT_EQ(answerLines().size(), 3u);
}

TEST_F(CentralArchiveCheckAnswer, ARefusalIsError1003InTheServersWords) {
  const CheckReply reply =
      checkAnswered(R"({"ok": 0, "error": "Unknown repository \u2013 sorry"})");
  EXPECT_EQ(reply.error, archiveError(1003, "Unknown repository – sorry"));
  EXPECT_EQ(log_.messages().back(), "error: Central archive API error: Unknown repository – sorry");
  EXPECT_EQ(answerLines().back(), "[CentralArchive] API error: Unknown repository – sorry");
}

TEST_F(CentralArchiveCheckAnswer, AnEmptyObjectIsARefusal) {
  EXPECT_EQ(checkAnswered("{}").error, archiveError(1003, "Central archive check failed."));
}

TEST_F(CentralArchiveCheckAnswer, OfValidJSONOtherThanAnObjectIsNeitherListNorError) {
  const CheckReply reply = checkAnswered("[]");
  EXPECT_EQ(reply.error, std::nullopt);
  EXPECT_THAT(reply.value, IsEmpty());
  EXPECT_THAT(answerMessages(),
              ElementsAre("info: Central archive check HTTP status: 200",
                          "error: Central archive response was not a JSON dictionary."));
  EXPECT_THAT(answerLines(), ElementsAre("[CentralArchive] HTTP status: 200",
                                         "[CentralArchive] Response bytes: 2"));
}

TEST_F(CentralArchiveCheckAnswer, OfWhatIsNotJSONIsTheParseErrorWithAPreview) {
  expectParseError("<html>Größe</html>", "<html>Größe</html>");
}

TEST_F(CentralArchiveCheckAnswer, ThatBreaksOffIsTheParseError) {
  const std::string body = R"({"ok": true, "missing_packages": [{"identifier": "a)";
  expectParseError(body, body);
}

TEST_F(CentralArchiveCheckAnswer, OfABareValueIsTheParseError) {
  expectParseError("true", "true");
}

TEST_F(CentralArchiveCheckAnswer, APreviewOfAThousandCharactersIsWhole) {
  expectParseError(std::string(1000, 'x'), std::string(1000, 'x'));
}

TEST_F(CentralArchiveCheckAnswer, ALongerPreviewIsCutToAThousand) {
  expectParseError(std::string(1001, 'x'), std::string(1000, 'x') + "...");
}

TEST_F(CentralArchiveCheckAnswer, APreviewCountsUTF16UnitsAndCutsNoCharacterInTwo) {
  const std::string begin(999, 'x');
  expectParseError(begin + "\U0001F600" + "y", begin + "...");
}

TEST_F(CentralArchiveCheckAnswer, APreviewOfWhatIsNotUTF8IsANoticeOfThat) {
  expectParseError("{\"ok\": \"\xFF\"}", "<non-utf8 response>");
}

TEST_F(CentralArchiveCheckAnswer, NestedTooDeeplyIsTheParseError) {
  const std::string body = R"({"ok":)" + std::string(300, '[') + std::string(300, ']') + "}";
  expectParseError(body, body);
}

}  // namespace

}  // namespace tolvane
