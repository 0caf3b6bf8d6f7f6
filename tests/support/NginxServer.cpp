// SPDX-License-Identifier: MIT
#include "tests/support/NginxServer.h"

#include <cstdlib>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <map>
#include <pwd.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace tolvane {

namespace {

constexpr int kAttempts = 5;

std::string nginxPath() {
  // Debian's /usr/sbin is not in the PATH of every user.
  for (const char* path : {"/usr/sbin/nginx", "/usr/local/sbin/nginx", "/usr/bin/nginx"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return "";
}

std::string contents(const std::string& path) {
  std::ostringstream bytes;
  bytes << std::ifstream(path).rdbuf();
  return bytes.str();
}

// The template with the values in place of "@NAME@".
std::string filled(std::string contents, const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const std::string mark = "@" + name + "@";
    for (auto at = contents.find(mark); at != std::string::npos; at = contents.find(mark)) {
      contents.replace(at, mark.size(), value);
    }
  }
  return contents;
}

}  // namespace

bool NginxServer::isInstalled() {
  return !nginxPath().empty() && std::system("openssl version >/dev/null 2>&1") == 0;
}

NginxServer::NginxServer(const std::string& extra) {
  mkdir(folder_.path("files").c_str(), 0755);
  if (!makeCertificate()) {
    ADD_FAILURE() << "openssl made no certificate";
    return;
  }
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    writeConfiguration(extra);
    if (launch()) return;
  }
  ADD_FAILURE() << "nginx does not start: " << contents(folder_.path("error.log"));
}

bool NginxServer::makeCertificate() const {
  const std::string command =
      "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2"
      " -subj /CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 -keyout '" +
      folder_.path("key.pem") + "' -out '" + certificatePath() + "' 2>/dev/null";
  return std::system(command.c_str()) == 0;
}

void NginxServer::writeConfiguration(const std::string& extra) {
  plainPort_ = freePort();
  securePort_ = freePort();
  const passwd* user = getpwuid(geteuid());
  const group* ownGroup = getgrgid(getegid());
  folder_.write("nginx.conf", filled(contents(TOLVANE_SUPPORT_FOLDER "/nginx.conf.in"),
                                     {{"FOLDER", folder_.path()},
                                      {"USER", user != nullptr ? user->pw_name : "root"},
                                      {"GROUP", ownGroup != nullptr ? ownGroup->gr_name : "root"},
                                      {"PLAIN_PORT", std::to_string(plainPort_)},
                                      {"SECURE_PORT", std::to_string(securePort_)},
                                      {"EXTRA", extra}}));
}

bool NginxServer::launch() {
  const std::string log = folder_.path("error.log");
  return process_.start({nginxPath(), "-e", log, "-c", folder_.path("nginx.conf")}, folder_.path(),
                        log, {plainPort_, securePort_});
}

void NginxServer::write(std::string_view name, std::string_view bytes) {
  folder_.write("files/" + std::string(name), bytes);
}

std::string NginxServer::url(std::string_view path) const {
  return "http://127.0.0.1:" + std::to_string(plainPort_) + std::string(path);
}

std::string NginxServer::secureURL(std::string_view path) const {
  return "https://127.0.0.1:" + std::to_string(securePort_) + std::string(path);
}

std::vector<NginxServer::Access> NginxServer::accesses() const {
  std::vector<Access> accesses;
  std::ifstream log(folder_.path("access.log"));
  Access access;
  while (log >> access.connection >> access.protocol >> access.status >> access.target) {
    accesses.push_back(access);
  }
  return accesses;
}

}  // namespace tolvane
