// SPDX-License-Identifier: MIT
#include <nlohmann/json.hpp>
#include <random>
#include <unistd.h>

#include "tests/archive_client/ArchiveFixture.h"
#include "tests/support/ServerProcess.h"

namespace tolvane {

namespace {

using nlohmann::json;

constexpr const char* kPhp = "/usr/bin/php";

// Keeps what it is sent, and answers each request as an archive would.
constexpr const char* kPage = R"(<?php
$page = basename($_SERVER['SCRIPT_NAME']);
$kept = ['method' => $_SERVER['REQUEST_METHOD'], 'post' => $_POST, 'files' => $_FILES,
         'secret' => $_SERVER['HTTP_X_ARCHIVE_SECRET'] ?? null,
         'token' => $_SERVER['HTTP_X_UPLOAD_TOKEN'] ?? null,
         'json' => json_decode(file_get_contents('php://input'))];
file_put_contents("$page.json", json_encode($kept));
if (isset($_FILES['package_file'])) {
  move_uploaded_file($_FILES['package_file']['tmp_name'], 'uploaded');
}
header('Content-Type: application/json');
echo json_encode(['ok' => true, 'upload_token' => 'sesame of php', 'missing_packages' => []]);
)";

// php's built-in server: a server that was not written for this client.
class CentralArchivePhp : public ArchiveFixture {
 protected:
  void SetUp() override {
    if (access(kPhp, X_OK) != 0) GTEST_SKIP() << "php is not installed (php-cli)";
    const std::string page = folder_.write("page.php", kPage);
    const std::string log = folder_.path("php.log");
    for (int attempt = 0; attempt < 5 && !php_.isRunning(); ++attempt) {
      const int port = freePort();
      const std::string address = "127.0.0.1:" + std::to_string(port);
      php_.start({kPhp, "-n", "-S", address, page}, folder_.path(), log, {port});
      phpClient_.setApiBaseURL("http://" + address);
    }
    ASSERT_TRUE(php_.isRunning()) << folder_.read("php.log");
  }

  json kept(const std::string& page) const { return json::parse(folder_.read(page + ".json")); }

  CentralArchiveClient phpClient_{"", kSecret};
  ServerProcess php_;
};

TEST_F(CentralArchivePhp, FindsTheFormAndTheFileInAnUpload) {
  std::mt19937 random(1);
  std::string bytes;
  while (bytes.size() < 1'000'000) bytes += static_cast<char>(random());
  package_.setDisplayName("Größe; \"1\"");
  package_.setVersion("1:2~a");
  package_.setSize("1000000");
  package_.setDownloadURL("https://repo.example/debs/tool.deb?a=b&c=d");
  const UploadReply reply = upload(phpClient_, file(bytes), "Installer3");
  EXPECT_TRUE(reply.value) << describe(reply.error);
  const json sent = kept("upload_package.php");
  EXPECT_EQ(sent["post"], (json{{"repository_url", kRepository},
                                {"repository_type", "Installer3"},
                                {"identifier", "com.example.tool"},
                                {"version", "1:2~a"},
                                {"name", "Größe; \"1\""},
                                {"filename", "tool_1.2.deb"},
                                {"size", "1000000"},
                                {"original_url", "https://repo.example/debs/tool.deb?a=b&c=d"}}));
  EXPECT_EQ(sent["files"].size(), 1u);
  EXPECT_EQ(sent["files"]["package_file"]["name"], "tool_1.2.deb");
  EXPECT_EQ(sent["files"]["package_file"]["type"], "application/octet-stream");
  EXPECT_EQ(sent["files"]["package_file"]["error"], 0);
  EXPECT_EQ(sent["files"]["package_file"]["size"], 1'000'000);
  EXPECT_EQ(sent["secret"], kSecret);
  EXPECT_EQ(sent["token"], nullptr);
  EXPECT_TRUE(folder_.read("uploaded") == bytes);
}

TEST_F(CentralArchivePhp, UnderstandsACheckAndATokenRequest) {
  EXPECT_EQ(check(phpClient_, {package_}).error, std::nullopt);
  const json checked = kept("check_repo.php");
  EXPECT_EQ(checked["method"], "POST");
  EXPECT_EQ(checked["secret"], kSecret);
  EXPECT_EQ(checked["json"]["repository_url"], kRepository);
  EXPECT_EQ(checked["json"]["packages"][0]["identifier"], "com.example.tool");

  EXPECT_EQ(requestToken(phpClient_, 5).value, "sesame of php");
  const json requested = kept("request_upload_token.php");
  EXPECT_EQ(requested["secret"], nullptr);
  EXPECT_EQ(requested["token"], nullptr);
  EXPECT_EQ(requested["json"]["package_count"], 5);

  EXPECT_TRUE(upload(phpClient_, file()).value);
  EXPECT_EQ(kept("upload_package.php")["token"], "sesame of php");
  EXPECT_EQ(kept("upload_package.php")["secret"], nullptr);
}

}  // namespace

}  // namespace tolvane
