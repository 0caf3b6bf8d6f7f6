// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/LoopbackServer.h"
#include "tests/support/Payloads.h"

namespace tolvane {

// Ready-made answers for a LoopbackServer, from the honest to the hostile.

using LoopbackHeaders = std::vector<std::pair<std::string, std::string>>;

// An honest answer with its Content-Length; the connection stays open.
LoopbackHandler respond(int status, std::string body, LoopbackHeaders headers = {});

// The same in several chunks, without a length.
LoopbackHandler respondChunked(std::vector<std::string> chunks);

// The body in gzip, said so by Content-Encoding.
LoopbackHandler respondGzipped(std::string_view body);

LoopbackHandler redirect(std::string location, int status = 302, std::string body = "");

// Promises the whole body, sends its first bytes and hangs up.
LoopbackHandler cutOff(std::string body, std::size_t sent);

// Claims another length than the body has; the connection stays open.
LoopbackHandler lieAboutLength(std::string body, std::size_t claimed);

// Sends these bytes as they are, and then: hangs up, sends a TCP reset, or keeps the client waiting
// for as long as it likes. All three may send nothing at all.
LoopbackHandler hangUp(std::string sent = "");
LoopbackHandler reset(std::string sent = "");
LoopbackHandler stall(std::string sent = "");

// Answers before the request's body is taken, and then takes what comes of it and hangs up. For
// onHead().
LoopbackHandler respondAtOnce(int status, std::string body);

// The body byte by byte with a pause before each.
LoopbackHandler drip(std::string body, std::chrono::milliseconds pause);

LoopbackHandler delayed(std::chrono::milliseconds pause, LoopbackHandler handler);

// One handler for each request in turn, the last one for all that follow.
LoopbackHandler inTurn(std::vector<LoopbackHandler> handlers);

// Answers the connection's first request; when a second one comes, hangs up.
LoopbackHandler onceAConnection(LoopbackHandler handler);

// What keeps an answer from going out until the test says so.
class Gate {
 public:
  void open() { *open_ = true; }
  bool isOpen() const { return *open_; }

 private:
  std::shared_ptr<std::atomic<bool>> open_ = std::make_shared<std::atomic<bool>>(false);
};

// Sends the bytes and, when the gate opens, leaves the rest to the handler.
LoopbackHandler heldBy(const Gate& gate, LoopbackHandler handler, std::string sentBefore = "");

// Writes exactly these bytes and keeps the connection.
LoopbackHandler sendRaw(std::string bytes);

// The first lines of an answer, ended by an empty one.
std::string responseHead(int status, const LoopbackHeaders& headers);

}  // namespace tolvane
