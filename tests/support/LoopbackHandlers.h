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

// Ready-made handlers for a LoopbackServer, for valid and invalid responses.

using LoopbackHeaders = std::vector<std::pair<std::string, std::string>>;

// A valid response with its Content-Length; the connection stays open.
LoopbackHandler respond(int status, std::string body, LoopbackHeaders headers = {});

// The same in several chunks, without a length.
LoopbackHandler respondChunked(std::vector<std::string> chunks);

// The body in gzip, with the Content-Encoding for it.
LoopbackHandler respondGzipped(std::string_view body);

LoopbackHandler redirect(std::string location, int status = 302, std::string body = "");

// Sends the head for the whole body and its first `sent` bytes, and closes the connection.
LoopbackHandler cutOff(std::string body, std::size_t sent);

// Sends a Content-Length of `claimed` bytes, then the body; the connection stays open.
LoopbackHandler lieAboutLength(std::string body, std::size_t claimed);

// Send these bytes as they are, and then close the connection, reset it (TCP), or wait until the
// client disconnects.
LoopbackHandler hangUp(std::string sent = "");
LoopbackHandler reset(std::string sent = "");
LoopbackHandler stall(std::string sent = "");

// Responds before it reads the body of the request, then reads the body and closes the connection.
// For onHead().
LoopbackHandler respondAtOnce(int status, std::string body);

// The body byte by byte with a pause before each.
LoopbackHandler drip(std::string body, std::chrono::milliseconds pause);

LoopbackHandler delayed(std::chrono::milliseconds pause, LoopbackHandler handler);

// One handler for each request in turn, the last one for all that follow.
LoopbackHandler inTurn(std::vector<LoopbackHandler> handlers);

// Answers the first request of a connection; closes the connection at the second one.
LoopbackHandler onceAConnection(LoopbackHandler handler);

// Delays responses until the test opens it. Copies are the same gate.
class Gate {
 public:
  void open() { *open_ = true; }
  bool isOpen() const { return *open_; }

 private:
  std::shared_ptr<std::atomic<bool>> open_ = std::make_shared<std::atomic<bool>>(false);
};

// Sends the bytes and calls the handler when the gate opens.
LoopbackHandler heldBy(const Gate& gate, LoopbackHandler handler, std::string sentBefore = "");

// Sends these bytes as they are; the connection stays open.
LoopbackHandler sendRaw(std::string bytes);

// The head of a response, with its empty line.
std::string responseHead(int status, const LoopbackHeaders& headers);

}  // namespace tolvane
