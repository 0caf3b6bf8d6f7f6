// SPDX-License-Identifier: MIT
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tolvane {

namespace {

sockaddr_in loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<in_port_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool accepts(int port) {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopback(port);
  const bool connected =
      connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  close(descriptor);
  return connected;
}

}  // namespace

int freePort() {
  const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  bind(descriptor, reinterpret_cast<sockaddr*>(&address), length);
  getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length);
  close(descriptor);
  return ntohs(address.sin_port);
}

bool ServerProcess::start(const std::vector<std::string>& arguments, const std::string& folder,
                          const std::string& log, const std::vector<int>& ports) {
  std::vector<const char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
  pointers.push_back(nullptr);
  process_ = fork();
  if (process_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int output = ::open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (chdir(folder.c_str()) == 0) execv(pointers[0], const_cast<char**>(pointers.data()));
    _exit(127);
  }
  if (waitUntilListening(ports)) return true;
  stop();
  return false;
}

bool ServerProcess::waitUntilListening(const std::vector<int>& ports) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (std::chrono::steady_clock::now() < end) {
    int status = 0;
    if (waitpid(process_, &status, WNOHANG) != 0) {
      process_ = 0;
      return false;
    }
    if (std::all_of(ports.begin(), ports.end(), accepts)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return false;
}

void ServerProcess::stop() {
  if (process_ <= 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

}  // namespace tolvane
