// SPDX-License-Identifier: MIT
#include "tests/support/LoopbackHandlers.h"

#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace tolvane {

namespace {

using std::chrono::milliseconds;

std::string headOfLength(int status, std::size_t length, LoopbackHeaders headers = {}) {
  headers.emplace_back("Content-Length", std::to_string(length));
  return responseHead(status, headers);
}

}  // namespace

std::string responseHead(int status, const LoopbackHeaders& headers) {
  std::string head = fmt::format("HTTP/1.1 {} Status\r\n", status);
  for (const auto& [name, value] : headers) head += fmt::format("{}: {}\r\n", name, value);
  return head + "\r\n";
}

LoopbackHandler sendRaw(std::string bytes) {
  return [bytes = std::move(bytes)](const LoopbackRequest&, LoopbackConnection& connection) {
    if (!connection.write(bytes)) connection.close();
  };
}

LoopbackHandler respond(int status, std::string body, LoopbackHeaders headers) {
  return sendRaw(headOfLength(status, body.size(), std::move(headers)) + body);
}

LoopbackHandler respondChunked(std::vector<std::string> chunks) {
  std::string bytes = responseHead(200, {{"Transfer-Encoding", "chunked"}});
  for (const std::string& chunk : chunks)
    bytes += fmt::format("{:x}\r\n{}\r\n", chunk.size(), chunk);
  return sendRaw(bytes + "0\r\n\r\n");
}

LoopbackHandler respondGzipped(std::string_view body) {
  return respond(200, gzipped(body), {{"Content-Encoding", "gzip"}});
}

LoopbackHandler redirect(std::string location, int status, std::string body) {
  return respond(status, std::move(body), {{"Location", std::move(location)}});
}

LoopbackHandler cutOff(std::string body, std::size_t sent) {
  return hangUp(headOfLength(200, body.size()) + body.substr(0, sent));
}

LoopbackHandler lieAboutLength(std::string body, std::size_t claimed) {
  return sendRaw(headOfLength(200, claimed) + body);
}

LoopbackHandler respondAtOnce(int status, std::string body) {
  return [status, body = std::move(body)](const LoopbackRequest&, LoopbackConnection& connection) {
    const std::string length = std::to_string(body.size());
    connection.write(responseHead(status, {{"Content-Length", length}, {"Connection", "close"}}) +
                     body);
    while (!connection.read(1 << 20).empty()) continue;
    connection.close();
  };
}

LoopbackHandler hangUp(std::string sent) {
  return [sent = std::move(sent)](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(sent);
    connection.close();
  };
}

LoopbackHandler reset(std::string sent) {
  return [sent = std::move(sent)](const LoopbackRequest&, LoopbackConnection& connection) {
    // A reset discards what the client has not read yet.
    if (connection.write(sent) && !sent.empty()) connection.pause(milliseconds(20));
    connection.reset();
  };
}

LoopbackHandler stall(std::string sent) {
  return [sent = std::move(sent)](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(sent);
    connection.waitUntilGone();
    connection.close();
  };
}

LoopbackHandler drip(std::string body, milliseconds pause) {
  return [body = std::move(body), pause](const LoopbackRequest&, LoopbackConnection& connection) {
    connection.write(headOfLength(200, body.size()));
    for (const char byte : body) {
      if (connection.pause(pause) && connection.write({&byte, 1})) continue;
      return connection.close();
    }
  };
}

LoopbackHandler delayed(milliseconds pause, LoopbackHandler handler) {
  return [pause, handler = std::move(handler)](const LoopbackRequest& request,
                                               LoopbackConnection& connection) {
    if (!connection.pause(pause)) return connection.close();
    handler(request, connection);
  };
}

LoopbackHandler inTurn(std::vector<LoopbackHandler> handlers) {
  auto next = std::make_shared<std::atomic<std::size_t>>(0);
  return [next, handlers = std::move(handlers)](const LoopbackRequest& request,
                                                LoopbackConnection& connection) {
    handlers[std::min((*next)++, handlers.size() - 1)](request, connection);
  };
}

LoopbackHandler onceAConnection(LoopbackHandler handler) {
  return [handler = std::move(handler)](const LoopbackRequest& request,
                                        LoopbackConnection& connection) {
    if (connection.requestNumber() > 1) return connection.close();
    handler(request, connection);
  };
}

LoopbackHandler heldBy(const Gate& gate, LoopbackHandler handler, std::string sentBefore) {
  return [gate, handler = std::move(handler), sentBefore = std::move(sentBefore)](
             const LoopbackRequest& request, LoopbackConnection& connection) {
    connection.write(sentBefore);
    while (!gate.isOpen()) {
      if (!connection.pause(milliseconds(2))) return connection.close();
    }
    handler(request, connection);
  };
}

}  // namespace tolvane
