// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <variant>

#include "async/SerialQueue.h"
#include "http/HTTPClient.h"

// How a session and the transport's thread talk to each other. Internal to the transport.
namespace tolvane {

struct TransferSession;
class TransferInbox;
using TransferClock = std::chrono::steady_clock;

// One request from its submission to its end, redirects and all. Plain data while it waits, so
// that a hundred thousand of them cost megabytes.
struct TransferTask {
  HTTPRequest request;
  std::string folder;             // for downloads: where the file will end
  bool acceptsEncodings = false;  // whatever a redirect's path looks like
  std::variant<HTTPClient::BodyCompletion, HTTPClient::FileCompletion> completion;
  std::shared_ptr<TransferSession> session;
  TransferClock::duration timeSpent{};  // under way, on the transfers before this one
  int redirects = 0;
  bool resent = false;             // after a server had left it unprocessed
  bool onFreshConnection = false;  // and not on one that is kept
  bool withoutHTTP2 = false;       // which had no length for its body

  bool isDownload() const { return std::holds_alternative<HTTPClient::FileCompletion>(completion); }
};

// The tasks of one session for one server.
struct TransferHost {
  std::deque<std::unique_ptr<TransferTask>> waiting;
  std::deque<std::unique_ptr<TransferTask>> again;  // redirected or resent; these go first
  int active = 0;
  int streams = 0;  // at once, where a connection carries several; at least the connections' limit
};

// What the tasks of one session share. The members below the line belong to the transport's
// thread.
struct TransferSession {
  HTTPOptions configuration;
  SerialQueue callbackQueue;
  std::shared_ptr<TransferInbox> inbox;
  std::atomic<int> filesAtHand{0};  // downloaded, and its completion has not run

  // ------------------------------------------------
  std::unordered_map<std::string, TransferHost> hosts;
  std::size_t waiting = 0;
  int active = 0;
};

}  // namespace tolvane
