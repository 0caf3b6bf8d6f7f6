// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <curl/curl.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "http/GzipCoding.h"
#include "http/HTTPTask.h"
#include "http/ResponseHead.h"

namespace tolvane {

// An easy handle of libcurl that sends the request of one HTTPTask and receives the response. A
// redirect is a transfer of its own. Belongs to the thread of the CurlMulti.
class CurlTransfer {
 public:
  using HeadObserver = std::function<void(const CurlTransfer&)>;

  // Sets up `easy`, which stays the caller's and has the transfer as its CURLOPT_PRIVATE; `share`
  // holds what all handles have in common. `onHead`, which must outlive the transfer, is called
  // inside a callback of libcurl when the head of the response is complete.
  CurlTransfer(CURL* easy, CURLSH* share, std::unique_ptr<HTTPTask> task,
               const HeadObserver& onHead);
  ~CurlTransfer();

  CurlTransfer(const CurlTransfer&) = delete;
  CurlTransfer& operator=(const CurlTransfer&) = delete;

  CURL* easy() const { return easy_; }
  const HTTPTask& task() const { return *task_; }

  // When one of the two timeouts will have passed.
  SteadyClock::time_point deadline() const;

  SteadyClock::duration age() const { return SteadyClock::now() - started_; }

  bool isHTTP2() const { return isHTTP2_; }

  // Ends the transfer; its handle must not be driven again. No value when the task needs another
  // transfer: it has been changed for that.
  std::optional<HTTPResult> finish(CURLcode code);

  // After finish().
  std::unique_ptr<HTTPTask> takeTask() { return std::move(task_); }

 private:
  static std::size_t onHeader(const char* bytes, std::size_t size, std::size_t count, void* self);
  static std::size_t onBody(const char* bytes, std::size_t size, std::size_t count, void* self);
  static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address);
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);

  void setUpBody(const std::string& body);
  void setUpHeaders();
  void addHeader(const std::string& name, const std::string& value);
  void trustCertificates();

  std::optional<Error> readHeader(std::string_view line);
  std::optional<Error> endHead();
  bool needsHTTP1() const;
  std::optional<Error> receive(std::string_view bytes);
  std::optional<Error> receiveInFile(std::string_view bytes);
  std::optional<Error> receiveInMemory(std::string_view bytes);

  bool isPost() const { return task_->request.body.has_value(); }
  bool isWhole() const;
  bool wasLeftUnprocessed(CURLcode code) const;
  bool wasCutShort() const;
  Error errorFor(CURLcode code) const;

  CURL* easy_;
  std::unique_ptr<HTTPTask> task_;
  curl_slist* headers_ = nullptr;
  const HeadObserver& onHead_;
  const SteadyClock::time_point started_;
  SteadyClock::time_point lastActivity_;
  SteadyClock::time_point headEnd_;

  ResponseHead head_;
  std::size_t headSize_ = 0;  // in bytes, with the heads of interim responses and the trailer
  bool isHTTP2_ = false;
  bool receivedAnything_ = false;
  std::unique_ptr<GzipCoding> coding_;  // of a body in memory that is encoded
  std::string body_;
  TemporaryFile file_;
  std::uint64_t received_ = 0;            // of the body, before it is decoded
  std::size_t redirectBodyReceived_ = 0;  // of the body of a redirect, which is discarded
  curl_off_t sent_ = 0;                   // of the body of a POST
  int socketError_ = 0;                   // errno of a socket that could not be opened
  char errorText_[CURL_ERROR_SIZE] = "";
  std::optional<Error> failure_;  // for which a callback has stopped the transfer
};

}  // namespace tolvane
