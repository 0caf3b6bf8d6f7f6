// SPDX-License-Identifier: MIT
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace tolvane {

// A port of 127.0.0.1 that refuses connections, or that the kernel connects and nothing answers on.
class UnansweredPort {
 public:
  enum class Kind { refusing, silent };

  explicit UnansweredPort(Kind kind) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), length);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    if (kind == Kind::silent) listen(socket_, 16);
    port_ = ntohs(address.sin_port);
  }
  ~UnansweredPort() { close(socket_); }

  UnansweredPort(const UnansweredPort&) = delete;
  UnansweredPort& operator=(const UnansweredPort&) = delete;

  std::string url(const std::string& scheme) const {
    return scheme + "://127.0.0.1:" + std::to_string(port_) + "/";
  }

 private:
  int socket_;
  int port_ = 0;
};

}  // namespace tolvane
