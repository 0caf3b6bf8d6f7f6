// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/LoopbackHandlers.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/NginxServer.h"

namespace tolvane {
namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

// A repository of three packages on nginx, as many repositories are.
class ProgramNginx : public testing::Test {
 protected:
  void SetUp() override {
    if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
    server_.emplace();
    ASSERT_TRUE(server_->isRunning());
    std::string index;
    for (const std::string name : {"a", "b", "c"}) {
      index += stanza(name, trueChecks());
      server_->write("debs/" + name + ".deb", kPackageBody);
    }
    server_->write("Packages", index);
  }

  void expectDownload(const std::string& url, const ProgramSettings& settings = {}) {
    const CommandResult result = runProgram({"download", url, folder_.path()}, settings);
    EXPECT_EQ(result.status, kExitDone) << result.errorOutput;
    EXPECT_EQ(result.output,
              "Finished missing. Downloaded: 3  Verified: 3  Failed: 0  Validation failed: 0  "
              "Skipped: 0  Already present: 0\n");
    EXPECT_THAT(folder_.names(), ElementsAre("a.deb", "b.deb", "c.deb"));
  }

  std::optional<NginxServer> server_;
  TemporaryFolder folder_;
};

TEST_F(ProgramNginx, ServesARunOverHTTP) {
  expectDownload(server_->url("/"));
}

TEST_F(ProgramNginx, ServesARunOverTLSWithATrustedCertificate) {
  expectDownload(server_->secureURL("/"),
                 {.environment = {{"SSL_CERT_FILE", server_->certificatePath()}}});
}

TEST_F(ProgramNginx, IsRefusedWithAnUntrustedCertificate) {
  const CommandResult result =
      runProgram({"download", server_->secureURL("/"), folder_.path(), "--quiet"});
  EXPECT_EQ(result.status, kExitNotLoaded);
  EXPECT_THAT(plainLines(result.errorOutput),
              ElementsAre(MatchesRegex(".*certificate.* \\(304 requests\\)")));
}

TEST(ProgramInsecureRedirect, IsAWarningOncePerServer) {
  if (!NginxServer::isInstalled()) GTEST_SKIP() << "nginx or openssl is not installed";
  LoopbackServer plain;
  std::string index;
  for (const std::string name : {"a", "b", "c"}) {
    index += stanza(name, trueChecks());
    plain.on("/debs/" + name + ".deb", respond(200, kPackageBody));
  }
  plain.on("/Packages", respond(200, index));
  const NginxServer secure("if ($scheme = https) { return 302 " + plain.url("") +
                           "$request_uri; }");
  ASSERT_TRUE(secure.isRunning());
  std::string repository = secure.secureURL("/");
  repository.replace(0, 8, "https://user:secret@");
  const TemporaryFolder folder;
  for (const auto& arguments :
       {std::vector<std::string>{"list", repository, "--quiet"},
        std::vector<std::string>{"download", repository, folder.path(), "--quiet"}}) {
    const CommandResult result =
        runProgram(arguments, {.environment = {{"SSL_CERT_FILE", secure.certificatePath()}}});
    EXPECT_EQ(result.status, kExitDone) << result.errorOutput;
    const std::string shown = "https://user:***@" + secure.secureURL("/Packages").substr(8);
    EXPECT_THAT(consoleMessages(result.errorOutput),
                ElementsAre("Redirected from https to http, which anybody on the way can read and "
                            "change: " +
                            shown + " to " + plain.url("/Packages")));
  }
}

}  // namespace
}  // namespace tolvane
