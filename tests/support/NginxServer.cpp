// SPDX-License-Identifier: MIT
#include "tests/support/NginxServer.h"

#include <arpa/inet.h>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <map>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tolvane {

namespace {

constexpr int kAttempts = 5;

std::string nginxPath() {
  // Where Debian puts it is not in every user's PATH.
  for (const char* path : {"/usr/sbin/nginx", "/usr/local/sbin/nginx", "/usr/bin/nginx"}) {
    if (access(path, X_OK) == 0) return path;
  }
  return "";
}

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

// A port that was free a moment ago.
int freePort() {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  bind(descriptor, reinterpret_cast<sockaddr*>(&address), length);
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  close(descriptor);
  return ntohs(address.sin_port);
}

bool accepts(int port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  const bool connected =
      connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return connected;
}

std::string contents(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string filled(std::string text, const std::map<std::string, std::string>& values) {
  for (const auto& [name, value] : values) {
    const std::string mark = "@" + name + "@";
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark)) {
      text.replace(at, mark.size(), value);
    }
  }
  return text;
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

NginxServer::~NginxServer() {
  stop();
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
  const std::string program = nginxPath();
  const std::string configuration = folder_.path("nginx.conf");
  const std::string log = folder_.path("error.log");
  const char* arguments[] = {program.c_str(),       "-e",   log.c_str(), "-c",
                             configuration.c_str(), nullptr};
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(output, STDERR_FILENO);
    execv(program.c_str(), const_cast<char**>(arguments));
    _exit(127);
  }
  if (waitUntilListening()) return true;
  stop();
  return false;
}

bool NginxServer::waitUntilListening() {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (std::chrono::steady_clock::now() < end) {
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) != 0) {  // it could not have the ports, for instance
      process_ = 0;
      return false;
    }
    if (accepts(plainPort_) && accepts(securePort_)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

void NginxServer::stop() {
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
  process_ = 0;
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
