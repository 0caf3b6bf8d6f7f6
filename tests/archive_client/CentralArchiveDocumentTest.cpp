// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/archive_client/ArchiveFixture.h"
#include "tests/support/CentralArchiveServer.h"

namespace tolvane {

namespace {

using testing::SizeIs;

// The examples of docs/central-archive-api.md against what the client sends, and how it reads the
// answers.
class CentralArchiveDocument : public ArchiveFixture {
 protected:
  // The indented blocks under a page's heading: its request and its answer.
  static std::vector<std::string> examplesOf(const std::string& page) {
    std::ifstream file(std::string(std::getenv("TOLVANE_SOURCE_DIR")) +
                       "/docs/central-archive-api.md");
    std::vector<std::string> examples;
    std::string blanks;  // lines that may be part of an example
    bool isOfPage = false;
    bool isInExample = false;
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with("## ")) isOfPage = line == "## " + page;
      if (!isOfPage) continue;
      if (line.empty()) {
        blanks += '\n';
      } else if (line.starts_with("    ")) {
        if (!isInExample) examples.emplace_back();
        if (isInExample) examples.back() += blanks;
        examples.back() += line.substr(4) + '\n';
        isInExample = true;
        blanks.clear();
      } else {
        isInExample = false;
        blanks.clear();
      }
    }
    return examples;
  }

  static std::string headOf(const std::string& example) {
    return example.substr(0, example.find("\n\n") + 2);
  }

  // Line breaks in a JSON body are for its reader.
  static std::string jsonOf(const std::string& example) {
    std::string body = example.substr(headOf(example).size());
    std::erase(body, '\n');
    return body;
  }

  // A request as it is written down, with what differs from run to run made the same.
  static std::string comparable(std::string text, const std::string& boundary = "") {
    std::erase(text, '\r');
    for (const char* field : {"\nHost: ", "\nAccept-Encoding: "}) {
      const std::size_t at = text.find(field);
      EXPECT_NE(at, std::string::npos) << field << text;
      const std::size_t from = at + std::string_view(field).size();
      text.replace(from, text.find('\n', from) - from, "...");
    }
    if (boundary.empty()) return text;
    for (std::size_t at = 0; (at = text.find(boundary, at)) != std::string::npos;) {
      text.replace(at, boundary.size(), "BOUNDARY");
    }
    return text;
  }

  static std::string boundaryIn(const std::string& request) {
    const std::string before = "boundary=";
    const std::size_t from = request.find(before) + before.size();
    return request.substr(from, request.find('\n', from) - from);
  }

  // The page's two examples; its server answers with the second from now on.
  std::vector<std::string> learn(const std::string& page) {
    std::vector<std::string> examples = examplesOf(page);
    EXPECT_THAT(examples, SizeIs(2)) << page;
    examples.resize(2);
    const std::string answer = jsonOf(examples[1]);
    EXPECT_EQ(headOf(examples[1]),
              "HTTP/1.1 200 OK\nContent-Type: application/json\nContent-Length: " +
                  std::to_string(answer.size()) + "\n\n");
    server_.answer(page, respond(200, answer));
    return examples;
  }

  void expectSent(const std::string& example) {
    const ArchiveRequest request = server_.requests().back();
    EXPECT_EQ(request.fault, "");
    EXPECT_EQ(comparable(request.sent.head), comparable(headOf(example)));
    EXPECT_EQ(request.sent.body, jsonOf(example));
  }

  void SetUp() override {
    if (!std::getenv("TOLVANE_SOURCE_DIR")) GTEST_SKIP() << "TOLVANE_SOURCE_DIR is not set";
    package_ = PackageEntry(
        PackageEntry::Dictionary{{"Package", "org.example.tidebar"},
                                 {"Name", "Tide Bar"},
                                 {"Version", "2.6"},
                                 {"Size", "14"},
                                 {"Filename", "debs/org.example.tidebar_2.6_iphoneos-arm.deb"}});
  }

  CentralArchiveServer server_;
  CentralArchiveClient documented_{server_.baseURL(), "a-shared-secret"};
};

TEST_F(CentralArchiveDocument, ShowsACheckAsItIsSentAndItsAnswerAsItIsRead) {
  const auto examples = learn("check_repo.php");
  const CheckReply reply = check(documented_, {package_});
  EXPECT_EQ(reply.error, std::nullopt);
  ASSERT_THAT(reply.value, SizeIs(1));
  EXPECT_EQ(reply.value.entries()[0],
            nlohmann::json::parse(R"({"identifier":"org.example.tidebar","version":"2.6"})"));
  expectSent(examples[0]);
}

TEST_F(CentralArchiveDocument, ShowsATokenRequestAsItIsSentAndItsAnswerAsItIsRead) {
  const auto examples = learn("request_upload_token.php");
  EXPECT_EQ(requestToken(documented_, 1).value, "5f1b7c0a9e");
  expectSent(examples[0]);
}

TEST_F(CentralArchiveDocument, ShowsAnUploadAsItIsSentAndItsAnswerAsItIsRead) {
  const auto examples = learn("upload_package.php");
  documented_.setUploadToken("5f1b7c0a9e");
  EXPECT_TRUE(upload(documented_,
                     folder_.write("org.example.tidebar_2.6_iphoneos-arm.deb", "package bytes\n"))
                  .value);
  const ArchiveRequest request = server_.requests().back();
  EXPECT_EQ(request.fault, "");
  EXPECT_EQ(comparable(request.sent.head + request.sent.body, request.boundary),
            comparable(examples[0], boundaryIn(examples[0])));
}

}  // namespace

}  // namespace tolvane
