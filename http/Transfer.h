// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "http/ContentCoding.h"
#include "http/TransferOutcome.h"
#include "http/TransferTask.h"

namespace tolvane {

// One request on the wire: a libcurl handle that receives the answer for one task. Internal to the
// transport; belongs to its thread.
class Transfer {
 public:
  using HeadObserver = std::function<void(const Transfer&)>;

  // `easy` is borrowed, reset and set up here; `share` holds what handles have in common. `onHead`
  // is called, and must live, while the transfer is under way: when the answer's head is there.
  Transfer(CURL* easy, CURLSH* share, std::unique_ptr<TransferTask> task,
           const HeadObserver& onHead, TransferClock::time_point now);
  ~Transfer();

  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  static Transfer* of(CURL* easy);

  CURL* easy() const { return easy_; }
  const TransferTask& task() const { return *task_; }

  // When this transfer has been quiet, or under way, for too long.
  TransferClock::time_point deadline() const;

  TransferClock::duration age() const { return TransferClock::now() - started_; }

  // The answer came over a protocol that carries several transfers on one connection.
  bool isMultiplexed() const { return multiplexed_; }

  // Ends the transfer. Its handle is not to be driven any more.
  TransferOutcome finish(CURLcode result);

 private:
  static std::size_t onHeader(const char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t onBody(const char* bytes, std::size_t size, std::size_t count, void* self);

  static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);

  void setUp(CURLSH* share);
  void setUpBody(const std::string& body);
  void setUpHeaders();
  void addHeader(const std::string& name, const std::string& value);
  void trustCertificates();
  std::optional<Error> readHeader(std::string_view line);
  void keepField(std::string_view line);
  std::optional<Error> endHead();
  bool hasContradictingLengths() const;
  bool needsHTTP1() const;
  std::optional<std::uint64_t> contentLength() const;
  bool isWhole() const;
  std::optional<Error> prepareDecoding();
  std::optional<Error> receive(std::string_view bytes);
  std::optional<Error> receiveInFile(std::string_view bytes);
  std::optional<Error> receiveInMemory(std::string_view bytes);
  bool isRedirect() const;
  bool isPost() const { return task_->request.body.has_value(); }
  bool wasLeftUnprocessed(CURLcode result) const;
  bool wasCutShort() const;
  std::optional<Error> followRedirect();
  Error errorFor(CURLcode result) const;

  CURL* easy_;
  curl_slist* headers_ = nullptr;
  std::unique_ptr<TransferTask> task_;
  const HeadObserver& onHead_;
  const TransferClock::time_point started_;
  TransferClock::time_point lastActivity_;
  TransferClock::time_point headEnd_;

  int statusCode_ = 0;         // of the head under way, or of the answer
  bool headComplete_ = false;  // of an answer that is not merely informational
  std::size_t headSize_ = 0;   // of all heads so far, in bytes
  HeaderFields fields_;        // of the same head as the status code
  std::optional<std::string> location_;
  std::size_t passedOver_ = 0;  // of a redirect's body
  curl_off_t sent_ = 0;         // of our own
  bool multiplexed_ = false;
  bool receivedAnything_ = false;
  int socketError_ = 0;  // errno of a socket that could not be had
  char errorText_[CURL_ERROR_SIZE] = "";
  std::unique_ptr<GzipCoding> coding_;  // of a body in memory that has one
  std::string body_;
  TemporaryFile file_;
  std::uint64_t fileSize_ = 0;
  std::uint64_t received_ = 0;    // of the body, before a coding is undone
  std::optional<Error> failure_;  // ours, which made libcurl stop
};

}  // namespace tolvane
