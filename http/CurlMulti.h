// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <curl/curl.h>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "http/CurlClient.h"
#include "http/CurlTransfer.h"
#include "http/HTTPTask.h"

namespace tolvane {

// The multi handle of libcurl and the thread that drives it, with the connections, TLS sessions and
// name look-ups that all clients share. A shared_ptr owns it.
//
// HTTP/2 is used where a TLS server offers it: a distant server then answers a hundred requests in
// the time of one. A response over HTTP/2 that gives no length of its body is requested again over
// HTTP/1.1, because libcurl 7.88 does not always notice that such a body is cut. A GET that a
// server left unprocessed because it was ending the connection is sent once more. Of 200,000
// transfers under AddressSanitizer (libcurl 7.88, nginx 1.22), with streams that were reset,
// stalled and refused and connections that were ended, none was lost, called its completion twice
// or had an invalid memory access. libcurl now and then reads a response over HTTP/2 without
// passing it on; such a response is a tenth of a second late at most.
class CurlMulti : public std::enable_shared_from_this<CurlMulti> {
 public:
  CurlMulti();
  ~CurlMulti();  // stop()

  CurlMulti(const CurlMulti&) = delete;
  CurlMulti& operator=(const CurlMulti&) = delete;

  // The one of the process, which stops it at its end.
  static const std::shared_ptr<CurlMulti>& shared();

  // Sends the request as soon as its client's limits permit, or drops it after stop(). Any thread.
  void submit(std::unique_ptr<HTTPTask> task);

  // Calls the completion on the client's callback queue, after the file of a download has been
  // flushed. Any thread.
  void complete(std::unique_ptr<HTTPTask> task, HTTPResult result);

  // Ends the thread and drops all requests whose response has not ended: their completions are
  // destroyed without a call, their temporary files removed. Any thread but its own.
  void stop();

 private:
  using ServerQueue = CurlClient::ServerQueue;
  struct EndedTask;

  static void callCompletion(std::shared_ptr<EndedTask> ended);
  void wake() { curl_multi_wakeup(multi_); }
  std::vector<std::unique_ptr<HTTPTask>> takeSubmitted();

  // The functions and members below belong to the thread.
  void run();
  void enqueue(std::unique_ptr<HTTPTask> task, bool again);
  void startWaiting();
  enum class Start { started, nothingToStart, tooManyFiles };
  Start startOne(CurlClient& client, const std::string& server);
  void start(std::unique_ptr<HTTPTask> task);
  void noteHead(const CurlTransfer& transfer);
  void finishDone();
  void finishOverdue(SteadyClock::time_point now);
  void adjustStreams(ServerQueue& queue, const CurlTransfer& transfer, CURLcode code);
  void finish(CurlTransfer* transfer, CURLcode code);
  void limitConnections();
  int sleepMilliseconds() const;

  CURLM* multi_;
  CURLSH* share_;
  const int maximumOpenFiles_;
  std::vector<CURL*> idleHandles_;
  std::unordered_map<CurlTransfer*, std::unique_ptr<CurlTransfer>> active_;
  SteadyClock::time_point nextDeadline_ = SteadyClock::time_point::max();
  const CurlTransfer::HeadObserver onHead_ = [this](const auto& transfer) { noteHead(transfer); };

  // Clients with a task, and the servers for which they may have one to start.
  std::unordered_map<CurlClient*, std::shared_ptr<CurlClient>> clients_;
  std::set<std::pair<CurlClient*, std::string>> startable_;
  std::unordered_set<std::string> http2Servers_;
  std::unordered_set<std::string> lengthlessServers_;  // give no length of files over HTTP/2
  long connectionLimit_ = 0;

  // Any thread uses these.
  std::mutex mutex_;  // of submitted_, to which nothing is added once isStopped_
  std::vector<std::unique_ptr<HTTPTask>> submitted_;
  std::atomic<bool> isStopped_{false};
  std::atomic<int> undeliveredFiles_{0};  // of all clients
  std::atomic<bool> waitsForFiles_{false};

  std::thread thread_;
};

}  // namespace tolvane
