// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/ExitStatus.h"
#include "tests/cli/Program.h"
#include "tests/cli/SampleIndex.h"
#include "tests/support/NginxServer.h"

namespace tolvane {
namespace {

using testing::ElementsAre;

// A repository of three packages on a server such as many repositories have.
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

TEST_F(ProgramNginx, ServesARunOverTLSUnderATrustedCertificate) {
  expectDownload(server_->secureURL("/"),
                 {.environment = {{"SSL_CERT_FILE", server_->certificatePath()}}});
}

TEST_F(ProgramNginx, IsRefusedUnderACertificateThatNobodyTrusts) {
  const CommandResult result = runProgram({"download", server_->secureURL("/"), folder_.path()});
  EXPECT_EQ(result.status, kExitNotLoaded);
}

}  // namespace
}  // namespace tolvane
