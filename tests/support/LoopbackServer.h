// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tolvane {

struct LoopbackRequest {
  std::string target;  // path and query as they were sent
  std::vector<std::pair<std::string, std::string>> headers;
  int connection = 0;  // 1 for the server's first connection
  std::string method = {};
  std::string head = {};  // as it was received, with the empty line
  std::string body = {};  // when it had a Content-Length

  bool hasHeader(std::string_view name) const;
  std::string header(std::string_view name) const;  // "" where there is none
};

// One connection of a client, for the handler that answers a request on it. Bytes are sent exactly
// as they are written. The connection stays open for the next request unless the handler ends it.
class LoopbackConnection {
 public:
  LoopbackConnection(int socket, int serial) : socket_(socket), serial_(serial) {}

  // False when the client has disconnected, or the server has stopped.
  bool write(std::string_view bytes);

  // Reads at most `count` bytes of a body that was left to the handler; "" at its end.
  std::string read(std::size_t count);

  // Waits; returns false at once when the client disconnects or the server stops.
  bool pause(std::chrono::milliseconds duration);
  void waitUntilGone();

  // End the connection when the handler returns: by closing it, or with a TCP reset.
  void close() { open_ = false; }
  void reset();

  int serial() const { return serial_; }
  int requestNumber() const { return requestNumber_; }  // 1 for the connection's first request

 private:
  friend class LoopbackServer;

  int socket_;
  int serial_;
  int requestNumber_ = 0;
  std::string buffered_;      // of the body, received with the head
  std::size_t bodyLeft_ = 0;  // of the body, not read yet
  bool open_ = true;
};

using LoopbackHandler = std::function<void(const LoopbackRequest&, LoopbackConnection&)>;

// An HTTP/1.1 server on a free port of 127.0.0.1 whose responses may be invalid in any way. It
// reads the request; the handler writes every byte of the response (LoopbackHandlers.h has
// ready-made handlers). Each connection has a thread. Stopping disconnects all clients.
class LoopbackServer {
 public:
  LoopbackServer();
  ~LoopbackServer();  // stops

  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  int port() const { return port_; }
  std::string url(std::string_view target, std::string_view host = "127.0.0.1") const;

  // Answers requests whose target without its query is `path`.
  void on(const std::string& path, LoopbackHandler handler);

  // The same for a handler that reads the body of the request from the connection itself.
  void onHead(const std::string& path, LoopbackHandler handler);

  // Answers all others; they get a 404 until this is set.
  void onAnyOther(LoopbackHandler handler);

  void stop();

  // In the order in which they were read.
  std::vector<LoopbackRequest> requests() const;
  std::vector<std::string> targets() const;

  std::size_t connectionsAccepted() const;
  std::size_t openConnections() const;
  std::size_t maximumOpenConnections() const;

  // Requests whose handler has not returned.
  std::size_t requestsInFlight() const;
  std::size_t maximumRequestsInFlight() const;

 private:
  class Listener;
  struct State;

  std::shared_ptr<State> state_;
  std::unique_ptr<Listener> listener_;
  int port_ = 0;
};

}  // namespace tolvane
