// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/ServerProcess.h"
#include "tests/support/TemporaryFolder.h"

namespace tolvane {

// nginx with its default settings, serving a folder on free ports of 127.0.0.1: plain HTTP/1.1, and
// TLS with HTTP/2 and a certificate made for this server. It is stopped by the destructor, and when
// the process of the test ends.
class NginxServer {
 public:
  // One entry of the access log.
  struct Access {
    long connection = 0;
    std::string protocol;  // "HTTP/1.1" or "HTTP/2.0"
    int status = 0;
    std::string target;
  };

  // Whether nginx and the openssl command are installed; a test without them skips itself.
  static bool isInstalled();

  // `extra` are configuration lines for the server block. The test fails when nginx does not start;
  // isRunning() is false then.
  explicit NginxServer(const std::string& extra = "");

  bool isRunning() const { return process_.isRunning(); }
  void stop() { process_.stop(); }

  // Puts a file below the root of what is served.
  void write(std::string_view name, std::string_view bytes);

  std::string url(std::string_view path) const;
  std::string secureURL(std::string_view path) const;

  // The certificate of the server, for SSL_CERT_FILE.
  std::string certificatePath() const { return folder_.path("certificate.pem"); }

  // In the order in which the responses ended; complete once the server has stopped.
  std::vector<Access> accesses() const;

 private:
  bool makeCertificate() const;
  void writeConfiguration(const std::string& extra);
  bool launch();

  TemporaryFolder folder_;
  int plainPort_ = 0;
  int securePort_ = 0;
  ServerProcess process_;
};

}  // namespace tolvane
