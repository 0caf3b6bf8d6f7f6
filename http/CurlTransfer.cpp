// SPDX-License-Identifier: MIT
#include "http/CurlTransfer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

#include "base/LargeString.h"
#include "base/Text.h"
#include "http/CurlClient.h"
#include "http/CurlErrors.h"
#include "http/Redirect.h"

namespace tolvane {

namespace {

constexpr long kReceiveBufferSize = 128 * 1024;
constexpr long kSendBufferSize = 512 * 1024;
constexpr int kLargestUnsent = 1024 * 1024;
constexpr std::size_t kLongestHead = std::size_t{256} << 10;
constexpr std::size_t kLongestRedirectBody = std::size_t{64} << 10;
constexpr auto kLongestRedirect = std::chrono::seconds(1);  // from the end of its head
constexpr std::size_t kLargestReservation = std::size_t{64} << 20;

const char* environment(const char* name) {
  const char* value = std::getenv(name);
  return value && *value ? value : nullptr;
}

// Whether the file of certificates that libcurl was built for exists. The folder of certificates
// that it was built for then holds the same ones, but would make libcurl read the file again for
// each connection.
bool hasCertificateBundle() {
  static const bool has = [] {
    const char* bundle = curl_version_info(CURLVERSION_NOW)->cainfo;
    return bundle && ::access(bundle, R_OK) == 0;
  }();
  return has;
}

long connectTimeout(const HTTPOptions& options) {
  const auto timeout = options.timeoutIntervalForRequest.count();
  return static_cast<long>(std::clamp<long long>(timeout, 1, std::numeric_limits<int>::max()));
}

// By default the kernel buffers megabytes of an upload, which over a slow line take minutes during
// which no progress is seen.
int limitUnsentBytes(void*, curl_socket_t socket, curlsocktype) {
  ::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &kLargestUnsent, sizeof kLargestUnsent);
  return CURL_SOCKOPT_OK;
}

}  // namespace

CurlTransfer::CurlTransfer(CURL* easy, CURLSH* share, std::unique_ptr<HTTPTask> task,
                           const HeadObserver& onHead)
    : easy_(easy),
      task_(std::move(task)),
      onHead_(onHead),
      started_(SteadyClock::now()),
      lastActivity_(started_) {
  const HTTPOptions& options = task_->client->options();
  curl_easy_reset(easy_);
  curl_easy_setopt(easy_, CURLOPT_PRIVATE, this);
  curl_easy_setopt(easy_, CURLOPT_SHARE, share);
  curl_easy_setopt(easy_, CURLOPT_URL, task_->request.url->absoluteString().c_str());
  curl_easy_setopt(easy_, CURLOPT_PATH_AS_IS, 1L);  // a URL is sent as it was typed
  curl_easy_setopt(easy_, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(
      easy_, CURLOPT_USERAGENT,
      options.userAgent.empty() ? "Tolvane/" TOLVANE_VERSION : options.userAgent.c_str());
  curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, errorText_);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy_, CURLOPT_QUICK_EXIT, 1L);  // a timeout does not wait for a name look-up
  curl_easy_setopt(easy_, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl_easy_setopt(easy_, CURLOPT_BUFFERSIZE, kReceiveBufferSize);
  // deadline() holds in any case; libcurl divides this one among the addresses of the host.
  curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS, connectTimeout(options));
  curl_easy_setopt(easy_, CURLOPT_HEADERFUNCTION, onHeader);
  curl_easy_setopt(easy_, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, onBody);
  curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
  trustCertificates();
  if (task_->withoutHTTP2) {
    curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  }
  if (task_->onFreshConnection) curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
  if (task_->request.body) setUpBody(*task_->request.body);
  setUpHeaders();
}

CurlTransfer::~CurlTransfer() {
  curl_slist_free_all(headers_);
}

void CurlTransfer::setUpBody(const std::string& body) {
  curl_easy_setopt(easy_, CURLOPT_POST, 1L);
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(easy_, CURLOPT_UPLOAD_BUFFERSIZE, kSendBufferSize);
  // On a kept connection or over HTTP/2, libcurl resends a lost request by itself.
  curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
  curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);  // else each would be kept
  curl_easy_setopt(easy_, CURLOPT_SOCKOPTFUNCTION, limitUnsentBytes);
  curl_easy_setopt(easy_, CURLOPT_XFERINFOFUNCTION, onProgress);
  curl_easy_setopt(easy_, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 0L);
  // Without "Expect: 100-continue", for whose answer libcurl would wait a second.
  headers_ = curl_slist_append(headers_, "Expect:");
}

void CurlTransfer::setUpHeaders() {
  const HTTPOptions& options = task_->client->options();
  const bool isTheirServer =
      !options.headers.empty() && options.headersOrigin == task_->request.url->origin();
  const HeaderFields own = isTheirServer ? options.headers : HeaderFields();
  if (task_->acceptsGzip) addHeader("Accept-Encoding", "gzip");
  for (const auto& [name, value] : own) addHeader(name, value);
  for (const auto& field : task_->request.headers) {
    const bool isReplaced = std::ranges::any_of(own, [&field](const auto& replacement) {
      return equalsIgnoringASCIICase(replacement.first, field.first);
    });
    if (!isReplaced) addHeader(field.first, field.second);
  }
  if (headers_) curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, headers_);
}

void CurlTransfer::addHeader(const std::string& name, const std::string& value) {
  // A colon without a value would make libcurl leave the field out.
  const bool isBlank = value.find_first_not_of(" \t\v\f") == std::string::npos;
  headers_ = curl_slist_append(headers_, (isBlank ? name + ";" : name + ": " + value).c_str());
}

// libcurl itself does not read the two variables.
void CurlTransfer::trustCertificates() {
  const char* file = environment("SSL_CERT_FILE");
  const char* folder = environment("SSL_CERT_DIR");
  if (file) curl_easy_setopt(easy_, CURLOPT_CAINFO, file);
  if (folder) curl_easy_setopt(easy_, CURLOPT_CAPATH, folder);
  if (!file && !folder && hasCertificateBundle()) curl_easy_setopt(easy_, CURLOPT_CAPATH, nullptr);
}

SteadyClock::time_point CurlTransfer::deadline() const {
  const HTTPOptions& options = task_->client->options();
  const auto end = started_ + options.timeoutIntervalForResource - task_->timeSpent;
  if (head_.isRedirect()) return std::min(headEnd_ + kLongestRedirect, end);
  return std::min(lastActivity_ + options.timeoutIntervalForRequest, end);
}

// Keeps errno, since libcurl only reports that it could not connect.
curl_socket_t CurlTransfer::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  static_cast<CurlTransfer*>(self)->socketError_ = socket < 0 ? errno : 0;
  return socket < 0 ? CURL_SOCKET_BAD : socket;
}

// Only a POST has this callback: bytes sent count as activity.
int CurlTransfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  auto* transfer = static_cast<CurlTransfer*>(self);
  if (transfer->sent_ != sent) transfer->lastActivity_ = SteadyClock::now();
  transfer->sent_ = sent;
  return 0;
}

std::size_t CurlTransfer::onHeader(const char* bytes, std::size_t size, std::size_t count,
                                   void* self) {
  auto* transfer = static_cast<CurlTransfer*>(self);
  transfer->failure_ = transfer->readHeader({bytes, size * count});
  return transfer->failure_ ? CURL_WRITEFUNC_ERROR : size * count;
}

std::optional<Error> CurlTransfer::readHeader(std::string_view line) {
  lastActivity_ = SteadyClock::now();
  receivedAnything_ = true;
  headSize_ += line.size();
  if (headSize_ > kLongestHead) return urlError(kURLErrorDataLengthExceedsMaximum);
  if (head_.isComplete()) return std::nullopt;  // a trailer
  if (line.starts_with("HTTP/")) {
    // By libcurl's own reading of the line, which decides what it does with the rest.
    long status = 0;
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy_, CURLINFO_HTTP_VERSION, &version);
    head_.begin(static_cast<int>(status));
    isHTTP2_ = version >= CURL_HTTP_VERSION_2_0;
    return std::nullopt;
  }
  head_.append(line);
  return head_.isComplete() ? endHead() : std::nullopt;
}

std::optional<Error> CurlTransfer::endHead() {
  headEnd_ = lastActivity_;
  onHead_(*this);
  if (head_.hasContradictingLengths()) return urlError(kURLErrorBadServerResponse);
  if (head_.isRedirect()) return std::nullopt;
  if (needsHTTP1()) {
    task_->withoutHTTP2 = true;
    return urlError(kURLErrorNetworkConnectionLost);
  }
  if (!task_->acceptsGzip) return std::nullopt;
  const ResponseHead::Coding coding = head_.contentCoding();
  if (coding == ResponseHead::Coding::unknown) return urlError(kURLErrorCannotDecodeContentData);
  if (coding == ResponseHead::Coding::gzip) coding_ = std::make_unique<GzipCoding>();
  return std::nullopt;
}

// libcurl 7.88 reports success for an HTTP/2 stream that its connection left unfinished, where
// several streams were on it. A length shows that; without one, HTTP/1.1 marks the end of a body.
bool CurlTransfer::needsHTTP1() const {
  const bool isUsed = task_->isDownload() || isSuccess(head_.statusCode());
  return isHTTP2_ && head_.allowsBody() && isUsed && !head_.contentLength();
}

std::size_t CurlTransfer::onBody(const char* bytes, std::size_t size, std::size_t count,
                                 void* self) {
  auto* transfer = static_cast<CurlTransfer*>(self);
  if (transfer->head_.isRedirect()) {
    // The connection can be kept only when the body is read to its end.
    std::size_t& received = transfer->redirectBodyReceived_;
    received += size * count;
    return received > kLongestRedirectBody ? CURL_WRITEFUNC_ERROR : size * count;
  }
  transfer->failure_ = transfer->receive({bytes, size * count});
  return transfer->failure_ ? CURL_WRITEFUNC_ERROR : size * count;
}

std::optional<Error> CurlTransfer::receive(std::string_view bytes) {
  lastActivity_ = SteadyClock::now();
  receivedAnything_ = true;
  received_ += bytes.size();
  return task_->isDownload() ? receiveInFile(bytes) : receiveInMemory(bytes);
}

std::optional<Error> CurlTransfer::receiveInFile(std::string_view bytes) {
  const std::uint64_t maximumSize =
      task_->request.maximumFileSize.value_or(task_->client->options().maximumFileSize);
  if (received_ > maximumSize) return urlError(kURLErrorDataLengthExceedsMaximum);
  if (!file_.isOpen()) {
    if (auto error = file_.open(task_->folder)) return error;
  }
  return file_.write(bytes.data(), bytes.size());
}

std::optional<Error> CurlTransfer::receiveInMemory(std::string_view bytes) {
  const std::size_t maximumSize = task_->client->options().maximumBodySize;
  try {
    if (coding_) return coding_->append(bytes, body_, maximumSize);
    if (bytes.size() > maximumSize - body_.size()) {
      return urlError(kURLErrorDataLengthExceedsMaximum);
    }
    if (body_.empty()) {
      const std::size_t length = head_.contentLength().value_or(0);
      if (length > 0) reserveLarge(body_, std::min(length, kLargestReservation));
    }
    appendLarge(body_, bytes, maximumSize);
  } catch (const std::bad_alloc&) {
    return posixError(ENOMEM);
  }
  return std::nullopt;
}

// Of a transfer that libcurl reports as a success.
bool CurlTransfer::isWhole() const {
  if (!head_.isComplete()) return false;
  return !isHTTP2_ || !head_.allowsBody() || head_.contentLength().value_or(received_) == received_;
}

// A server that ends a connection after some number of requests, or of seconds, does not respond to
// those that were on their way to it.
bool CurlTransfer::wasLeftUnprocessed(CURLcode code) const {
  if (receivedAnything_ || isPost()) return false;
  switch (code) {
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return true;
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR: {
      long connectionsMade = 1;
      curl_easy_getinfo(easy_, CURLINFO_NUM_CONNECTS, &connectionsMade);
      return connectionsMade == 0;
    }
    default:
      return false;
  }
}

// libcurl stops sending when a response of failure has come, or one that closes the connection.
bool CurlTransfer::wasCutShort() const {
  if (!isPost()) return false;
  curl_off_t sent = 0;
  curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &sent);
  return static_cast<std::size_t>(sent) < task_->request.body->size();
}

Error CurlTransfer::errorFor(CURLcode code) const {
  // libcurl 7.88 reports success for a connection that the server closes inside the head of the
  // response, or after nothing but interim responses.
  if (code == CURLE_OK) return urlError(kURLErrorNetworkConnectionLost);
  if (code == CURLE_COULDNT_CONNECT && socketError_ != 0) return posixError(socketError_);
  Error error = urlErrorForCurlCode(code);
  // It may hold the URL of a proxy, with a password.
  error.detail = withoutPasswords(errorText_[0] != '\0' ? errorText_ : curl_easy_strerror(code));
  return error;
}

std::optional<HTTPResult> CurlTransfer::finish(CURLcode code) {
  const bool isSuccessful = code == CURLE_OK && isWhole();
  task_->timeSpent += age();
  HTTPResult result;
  if (head_.isComplete()) {
    result.response = HTTPResponse{head_.statusCode(), wasCutShort(), task_->request.url,
                                   std::move(head_.fields())};
  }
  if (failure_) {
    if (task_->withoutHTTP2 && isHTTP2_) return std::nullopt;
    result.error = std::move(failure_);
  } else if (head_.isRedirect()) {  // however its body ended
    result.error = followRedirect(*task_, head_.statusCode(), *head_.location());
    if (!result.error) return std::nullopt;
    const bool isRefused = result.error->code == kURLErrorRedirectToNonExistentLocation;
    if (isRefused) result.response.reset();
  } else if (isSuccessful) {
    if (task_->isDownload() && !file_.isOpen()) result.error = file_.open(task_->folder);
    if (coding_ && coding_->isCut()) result.error = urlError(kURLErrorCannotDecodeContentData);
  } else if (!task_->resent && wasLeftUnprocessed(code)) {
    task_->resent = true;
    // Other kept connections may be as dead as this one was. Over HTTP/2 a hundred requests may be
    // resent at once; they share one.
    task_->onFreshConnection = code != CURLE_HTTP2 && code != CURLE_HTTP2_STREAM;
    return std::nullopt;
  } else {
    result.error = errorFor(code);
  }
  if (!result.error) {
    result.body = std::move(body_);
    result.file = std::move(file_);
  }
  task_->request.body.reset();  // large, and of no more use
  return result;
}

}  // namespace tolvane
