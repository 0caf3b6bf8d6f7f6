// SPDX-License-Identifier: MIT
#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <httplib.h>
#include <list>
#include <map>
#include <mutex>
#include <poll.h>
#include <set>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "base/Text.h"
#include "tests/support/LoopbackHandlers.h"

#ifdef __SANITIZE_THREAD__
// cpp-httplib is not built with ThreadSanitizer, which therefore does not see the guards of its
// function-local statics.
extern "C" const char* __tsan_default_suppressions() {
  return "called_from_lib:libcpp-httplib.so\n";
}
#endif

namespace tolvane {

namespace {

// A count and the highest value that it has had.
struct Level {
  std::size_t now = 0;
  std::size_t maximum = 0;

  void raise() { maximum = std::max(maximum, ++now); }
  void lower() { --now; }
};

// A thread for each connection, without a limit. Used by the accepting thread only.
class ThreadPerConnection : public httplib::TaskQueue {
 public:
  void enqueue(std::function<void()> serve) override {
    workers_.remove_if([](const Worker& worker) { return worker.done.load(); });
    Worker& worker = workers_.emplace_back();
    worker.thread = std::jthread([&worker, serve = std::move(serve)] {
      serve();
      worker.done = true;
    });
  }

  void shutdown() override { workers_.clear(); }

 private:
  struct Worker {
    std::atomic<bool> done = false;
    std::jthread thread;  // joined when the worker is destroyed
  };
  std::list<Worker> workers_;
};

// Lets cpp-httplib read requests from a socket. What it writes is discarded, since the handlers
// write the responses.
class RequestStream : public httplib::Stream {
 public:
  explicit RequestStream(int socket) : socket_(socket) {}

  ssize_t read(char* bytes, std::size_t count) override {
    if (begin_ == end_) {
      const ssize_t received = recv(socket_, buffer_, sizeof buffer_, 0);
      if (received <= 0) return received;
      begin_ = 0;
      end_ = static_cast<std::size_t>(received);
    }
    count = std::min(count, end_ - begin_);
    std::copy_n(buffer_ + begin_, count, bytes);
    taken_.append(bytes, count);
    begin_ += count;
    return static_cast<ssize_t>(count);
  }

  ssize_t write(const char*, std::size_t count) override { return static_cast<ssize_t>(count); }
  bool is_readable() const override { return true; }
  bool is_writable() const override { return true; }
  void get_remote_ip_and_port(std::string&, int&) const override {}
  void get_local_ip_and_port(std::string&, int&) const override {}
  socket_t socket() const override { return socket_; }

  // The bytes that have been read since the last call.
  std::string taken() { return std::exchange(taken_, {}); }

  // The bytes that have been received and not read.
  std::string rest() {
    std::string rest(buffer_ + begin_, end_ - begin_);
    begin_ = end_;
    return rest;
  }

 private:
  int socket_;
  char buffer_[4096];
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::string taken_;
};

constexpr std::size_t kBodyPart = std::size_t{1} << 20;

}  // namespace

bool LoopbackRequest::hasHeader(std::string_view name) const {
  return std::any_of(headers.begin(), headers.end(), [&](const auto& header) {
    return equalsIgnoringASCIICase(header.first, name);
  });
}

std::string LoopbackRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (equalsIgnoringASCIICase(key, name)) return value;
  }
  return "";
}

bool LoopbackConnection::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

std::string LoopbackConnection::read(std::size_t count) {
  count = std::min(count, bodyLeft_);
  std::string bytes = buffered_.substr(0, count);
  buffered_.erase(0, bytes.size());
  if (bytes.empty() && count > 0) {
    bytes.resize(count);
    const ssize_t received = recv(socket_, bytes.data(), count, 0);
    bytes.resize(received > 0 ? static_cast<std::size_t>(received) : 0);
  }
  bodyLeft_ = bytes.empty() ? 0 : bodyLeft_ - bytes.size();
  return bytes;
}

bool LoopbackConnection::pause(std::chrono::milliseconds duration) {
  pollfd gone{socket_, POLLRDHUP, 0};
  return poll(&gone, 1, static_cast<int>(duration.count())) == 0;
}

void LoopbackConnection::waitUntilGone() {
  pollfd gone{socket_, POLLRDHUP, 0};
  poll(&gone, 1, -1);
}

void LoopbackConnection::reset() {
  const linger abort{1, 0};
  setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
  open_ = false;
}

struct LoopbackServer::State {
  struct Route {
    LoopbackHandler handler;
    bool takesBody = true;  // before the handler is called
  };

  // The new connection's serial number; 0 while the server is stopping.
  int admit(int socket) {
    const std::lock_guard lock(mutex);
    if (stopping) return 0;
    sockets.insert(socket);
    connections.raise();
    return ++accepted;
  }

  void dismiss(int socket) {
    const std::lock_guard lock(mutex);
    if (sockets.erase(socket) > 0) connections.lower();
    ::close(socket);
  }

  // Ends the waiting of all threads for their clients.
  void disconnectAll() {
    const std::lock_guard lock(mutex);
    stopping = true;
    for (const int socket : sockets) shutdown(socket, SHUT_RDWR);
  }

  void answer(LoopbackRequest request, LoopbackConnection& connection) {
    const Route route = routeOf(request.target);
    for (std::string part; route.takesBody && !(part = connection.read(kBodyPart)).empty();) {
      request.body += part;
    }
    begin(request);
    route.handler(request, connection);
    const std::lock_guard lock(mutex);
    inFlight.lower();
  }

  Route routeOf(const std::string& target) {
    const std::lock_guard lock(mutex);
    const auto found = routes.find(target.substr(0, target.find('?')));
    return found == routes.end() ? other : found->second;
  }

  void begin(const LoopbackRequest& request) {
    const std::lock_guard lock(mutex);
    requests.push_back(request);
    inFlight.raise();
  }

  std::mutex mutex;
  std::map<std::string, Route> routes;
  Route other{respond(404, "")};
  std::vector<LoopbackRequest> requests;
  std::set<int> sockets;
  int accepted = 0;
  Level connections;
  Level inFlight;
  bool stopping = false;
};

// cpp-httplib accepts connections and reads the heads of requests. Responses bypass it, since it
// cannot send invalid ones.
class LoopbackServer::Listener : public httplib::Server {
 public:
  explicit Listener(std::shared_ptr<State> state) : state_(std::move(state)) {
    new_task_queue = [] { return new ThreadPerConnection(); };
    // Clients may keep a connection for longer than the 5 seconds of cpp-httplib.
    set_read_timeout(std::chrono::hours(1));
    set_write_timeout(std::chrono::hours(1));
  }

  int start() {
    const int port = bind_to_any_port("127.0.0.1");
    // With the backlog of cpp-httplib, 5, clients wait a second when many connect at once.
    ::listen(svr_sock_, SOMAXCONN);
    thread_ = std::thread([this] { listen_after_bind(); });
    while (!is_running()) std::this_thread::yield();
    return port;
  }

  void join() {
    stop();
    if (thread_.joinable()) thread_.join();
  }

 private:
  bool process_and_close_socket(socket_t socket) override {
    LoopbackConnection connection(socket, state_->admit(socket));
    connection.open_ = connection.serial_ > 0;
    RequestStream stream(socket);
    while (connection.open_) {
      const int answered = connection.requestNumber_;
      bool closing = false;
      process_request(stream, false, closing,
                      [&](httplib::Request& request) { answer(stream, request, connection); });
      if (closing || connection.requestNumber_ == answered) connection.close();
    }
    state_->dismiss(socket);
    return true;
  }

  void answer(RequestStream& stream, httplib::Request& request, LoopbackConnection& connection) {
    ++connection.requestNumber_;
    LoopbackRequest copy{request.target, {}, connection.serial_, request.method, stream.taken()};
    copy.headers.assign(request.headers.begin(), request.headers.end());
    if (request.has_header("Content-Length")) {
      connection.bodyLeft_ = std::stoul(request.get_header_value("Content-Length"));
      connection.buffered_ = stream.rest();
    }
    state_->answer(std::move(copy), connection);
    request.method = "GET";  // so that cpp-httplib reads no body
  }

  std::shared_ptr<State> state_;
  std::thread thread_;
};

LoopbackServer::LoopbackServer()
    : state_(std::make_shared<State>()), listener_(std::make_unique<Listener>(state_)) {
  port_ = listener_->start();
  EXPECT_GT(port_, 0) << "no free port on 127.0.0.1";
}

LoopbackServer::~LoopbackServer() {
  stop();
}

void LoopbackServer::stop() {
  state_->disconnectAll();
  listener_->join();
}

std::string LoopbackServer::url(std::string_view target, std::string_view host) const {
  return "http://" + std::string(host) + ":" + std::to_string(port_) + std::string(target);
}

void LoopbackServer::on(const std::string& path, LoopbackHandler handler) {
  const std::lock_guard lock(state_->mutex);
  state_->routes[path] = {std::move(handler)};
}

void LoopbackServer::onHead(const std::string& path, LoopbackHandler handler) {
  const std::lock_guard lock(state_->mutex);
  state_->routes[path] = {std::move(handler), false};
}

void LoopbackServer::onAnyOther(LoopbackHandler handler) {
  const std::lock_guard lock(state_->mutex);
  state_->other = {std::move(handler)};
}

std::vector<LoopbackRequest> LoopbackServer::requests() const {
  const std::lock_guard lock(state_->mutex);
  return state_->requests;
}

std::vector<std::string> LoopbackServer::targets() const {
  std::vector<std::string> targets;
  for (LoopbackRequest& request : requests()) targets.push_back(std::move(request.target));
  return targets;
}

std::size_t LoopbackServer::connectionsAccepted() const {
  const std::lock_guard lock(state_->mutex);
  return static_cast<std::size_t>(state_->accepted);
}

std::size_t LoopbackServer::openConnections() const {
  const std::lock_guard lock(state_->mutex);
  return state_->connections.now;
}

std::size_t LoopbackServer::maximumOpenConnections() const {
  const std::lock_guard lock(state_->mutex);
  return state_->connections.maximum;
}

std::size_t LoopbackServer::requestsInFlight() const {
  const std::lock_guard lock(state_->mutex);
  return state_->inFlight.now;
}

std::size_t LoopbackServer::maximumRequestsInFlight() const {
  const std::lock_guard lock(state_->mutex);
  return state_->inFlight.maximum;
}

}  // namespace tolvane
