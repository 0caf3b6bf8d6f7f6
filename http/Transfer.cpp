// SPDX-License-Identifier: MIT
#include "http/Transfer.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <new>
#include <sys/socket.h>
#include <unistd.h>

#include "base/LargePages.h"
#include "base/Text.h"
#include "http/TransferErrors.h"

namespace tolvane {

namespace {

constexpr int kMaximumRedirects = 20;
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

// libcurl's own bundle of certificates is there. Its own folder of certificates then holds nothing
// more, but makes libcurl read the bundle again for each connection instead of once.
bool hasCertificateBundle() {
  static const bool has = [] {
    const char* bundle = curl_version_info(CURLVERSION_NOW)->cainfo;
    return bundle && ::access(bundle, R_OK) == 0;
  }();
  return has;
}

long connectTimeout(const TransferSession& session) {
  const auto timeout = session.configuration.timeoutIntervalForRequest.count();
  return static_cast<long>(std::clamp<long long>(timeout, 1, std::numeric_limits<int>::max()));
}

bool isRedirectStatus(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

// Whether `line` is a header field of this name.
bool isField(std::string_view line, std::string_view name) {
  return line.size() > name.size() && line[name.size()] == ':' &&
         equalsIgnoringASCIICase(line.substr(0, name.size()), name);
}

// The system takes megabytes of an upload at once, and for a slow line that would be minutes in
// which nothing seems to be sent. What it may hold before it goes out is bounded here.
int limitUnsentBytes(void*, curl_socket_t socket, curlsocktype) {
#ifdef TCP_NOTSENT_LOWAT
  ::setsockopt(socket, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &kLargestUnsent, sizeof kLargestUnsent);
#endif
  return CURL_SOCKOPT_OK;
}

// `reference` as a URL in relation to `base`; as it stands where it is none.
std::string resolved(const URL& base, const std::string& reference) {
  if (reference.empty()) return "";  // libcurl would make it the server's root
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
  char* text = nullptr;
  const bool isURL = curl_url_set(url.get(), CURLUPART_URL, base.absoluteString().c_str(),
                                  CURLU_PATH_AS_IS) == CURLUE_OK &&
                     curl_url_set(url.get(), CURLUPART_URL, reference.c_str(),
                                  CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK &&
                     curl_url_get(url.get(), CURLUPART_URL, &text, 0) == CURLUE_OK;
  if (!isURL) return reference;
  std::string result(text);
  curl_free(text);
  return result;
}

// Whether a POST goes there as well: whole, and to nobody but its own server.
bool mayRepeat(const URL& url, int status, const std::optional<URL>& target) {
  return (status == 307 || status == 308) && target && target->origin() == url.origin();
}

// The host that a reference leads to although the rest of it is no URL; "" where it has none.
std::string hostNamedIn(const URL& base, std::string_view reference) {
  const std::size_t colon = reference.find(':');
  const bool hasScheme = colon < reference.find_first_of("/?#");
  if (hasScheme) reference.remove_prefix(colon + 1);
  if (!reference.starts_with("//")) return std::string(hasScheme ? "" : base.host());
  const std::string_view authority = reference.substr(0, reference.find_first_of("/\\?#", 2));
  const std::optional<URL> url = URL::parse("http:" + std::string(authority));
  return std::string(url ? url->host() : "");
}

Error redirectRefused(const URL& base, const std::optional<URL>& target,
                      std::string_view location) {
  const std::string host = target ? std::string(target->host()) : hostNamedIn(base, location);
  return {std::string(kURLErrorDomain), kURLErrorRedirectToNonExistentLocation,
          "The redirect to " + (host.empty() ? "an invalid address" : host) + " was not followed."};
}

bool isRedirectRefusal(const std::optional<Error>& error) {
  return error && error->code == kURLErrorRedirectToNonExistentLocation;
}

}  // namespace

Transfer::Transfer(CURL* easy, CURLSH* share, std::unique_ptr<TransferTask> task,
                   const HeadObserver& onHead, TransferClock::time_point now)
    : easy_(easy), task_(std::move(task)), onHead_(onHead), started_(now), lastActivity_(now) {
  setUp(share);
}

Transfer::~Transfer() {
  curl_slist_free_all(headers_);
}

Transfer* Transfer::of(CURL* easy) {
  Transfer* transfer = nullptr;
  curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
  return transfer;
}

void Transfer::setUp(CURLSH* share) {
  const URL& url = *task_->request.url;
  curl_easy_reset(easy_);
  curl_easy_setopt(easy_, CURLOPT_PRIVATE, this);
  curl_easy_setopt(easy_, CURLOPT_SHARE, share);
  curl_easy_setopt(easy_, CURLOPT_URL, url.absoluteString().c_str());
  curl_easy_setopt(easy_, CURLOPT_PATH_AS_IS, 1L);  // a URL is sent as it was typed
  curl_easy_setopt(easy_, CURLOPT_PROTOCOLS_STR, "http,https");
  const std::string& userAgent = task_->session->configuration.userAgent;
  curl_easy_setopt(easy_, CURLOPT_USERAGENT,
                   userAgent.empty() ? "Tolvane/" TOLVANE_VERSION : userAgent.c_str());
  curl_easy_setopt(easy_, CURLOPT_ERRORBUFFER, errorText_);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, openSocket);
  curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
  curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(easy_, CURLOPT_QUICK_EXIT, 1L);  // a timeout does not wait for a name look-up
  curl_easy_setopt(easy_, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
  curl_easy_setopt(easy_, CURLOPT_BUFFERSIZE, kReceiveBufferSize);
  // Our own deadlines are the ones that count; libcurl shares this one out among a host's
  // addresses.
  curl_easy_setopt(easy_, CURLOPT_CONNECTTIMEOUT_MS, connectTimeout(*task_->session));
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

void Transfer::setUpBody(const std::string& body) {
  curl_easy_setopt(easy_, CURLOPT_POST, 1L);
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.data());
  curl_easy_setopt(easy_, CURLOPT_UPLOAD_BUFFERSIZE, kSendBufferSize);
  // libcurl sends again, on its own, what a kept connection or an HTTP/2 stream has swallowed.
  curl_easy_setopt(easy_, CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
  curl_easy_setopt(easy_, CURLOPT_FRESH_CONNECT, 1L);
  curl_easy_setopt(easy_, CURLOPT_FORBID_REUSE, 1L);  // one more for each would pile up
  curl_easy_setopt(easy_, CURLOPT_SOCKOPTFUNCTION, limitUnsentBytes);
  curl_easy_setopt(easy_, CURLOPT_XFERINFOFUNCTION, onProgress);
  curl_easy_setopt(easy_, CURLOPT_XFERINFODATA, this);
  curl_easy_setopt(easy_, CURLOPT_NOPROGRESS, 0L);
  // A second's wait for leave to send, from servers that never give it.
  headers_ = curl_slist_append(headers_, "Expect:");
}

void Transfer::setUpHeaders() {
  const HTTPOptions& configuration = task_->session->configuration;
  const bool isTheirServer =
      !configuration.headers.empty() && configuration.headersOrigin == task_->request.url->origin();
  const HeaderFields own = isTheirServer ? configuration.headers : HeaderFields();
  if (task_->acceptsEncodings) addHeader("Accept-Encoding", "gzip");
  for (const auto& [name, value] : own) addHeader(name, value);
  for (const auto& field : task_->request.headers) {
    const bool isReplaced = std::ranges::any_of(own, [&field](const auto& replacement) {
      return equalsIgnoringASCIICase(replacement.first, field.first);
    });
    if (!isReplaced) addHeader(field.first, field.second);
  }
  if (headers_) curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, headers_);
}

void Transfer::addHeader(const std::string& name, const std::string& value) {
  // libcurl takes a colon without a value as the wish that the field be left out.
  const bool isBlank = value.find_first_not_of(" \t\v\f") == std::string::npos;
  headers_ = curl_slist_append(headers_, (isBlank ? name + ";" : name + ": " + value).c_str());
}

// libcurl leaves the two variables to its callers.
void Transfer::trustCertificates() {
  const char* file = environment("SSL_CERT_FILE");
  const char* folder = environment("SSL_CERT_DIR");
  if (file) curl_easy_setopt(easy_, CURLOPT_CAINFO, file);
  if (folder) curl_easy_setopt(easy_, CURLOPT_CAPATH, folder);
  if (!file && !folder && hasCertificateBundle()) curl_easy_setopt(easy_, CURLOPT_CAPATH, nullptr);
}

TransferClock::time_point Transfer::deadline() const {
  const HTTPOptions& configuration = task_->session->configuration;
  const auto end = started_ + configuration.timeoutIntervalForResource - task_->timeSpent;
  if (isRedirect()) return std::min(headEnd_ + kLongestRedirect, end);
  return std::min(lastActivity_ + configuration.timeoutIntervalForRequest, end);
}

// libcurl says of a socket that the system refuses that it could not connect.
curl_socket_t Transfer::openSocket(void* self, curlsocktype, curl_sockaddr* address) {
  const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
  static_cast<Transfer*>(self)->socketError_ = socket < 0 ? errno : 0;
  return socket < 0 ? CURL_SOCKET_BAD : socket;
}

// Sending, as receiving, keeps a transfer from being idle.
int Transfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  auto* transfer = static_cast<Transfer*>(self);
  if (transfer->sent_ != sent) transfer->lastActivity_ = TransferClock::now();
  transfer->sent_ = sent;
  return 0;
}

std::size_t Transfer::onHeader(const char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* transfer = static_cast<Transfer*>(self);
  transfer->failure_ = transfer->readHeader({bytes, size * count});
  return transfer->failure_ ? CURL_WRITEFUNC_ERROR : size * count;
}

std::optional<Error> Transfer::readHeader(std::string_view line) {
  lastActivity_ = TransferClock::now();
  receivedAnything_ = true;
  headSize_ += line.size();
  if (headSize_ > kLongestHead) return urlError(kURLErrorDataLengthExceedsMaximum);
  if (headComplete_) return std::nullopt;  // a trailer
  if (line.starts_with("HTTP/")) {
    long status = 0;
    long version = CURL_HTTP_VERSION_NONE;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy_, CURLINFO_HTTP_VERSION, &version);
    statusCode_ = static_cast<int>(status);
    multiplexed_ = version >= CURL_HTTP_VERSION_2_0;
    fields_.clear();
    location_.reset();
  } else if (line == "\r\n" || line == "\n") {
    return endHead();
  } else {
    keepField(line);
  }
  return std::nullopt;
}

std::optional<Error> Transfer::endHead() {
  if (statusCode_ < 200) return std::nullopt;  // interim
  headComplete_ = true;
  headEnd_ = lastActivity_;
  onHead_(*this);
  if (hasContradictingLengths()) return urlError(kURLErrorBadServerResponse);
  if (isRedirect()) return std::nullopt;
  if (needsHTTP1()) {
    task_->withoutHTTP2 = true;
    return urlError(kURLErrorNetworkConnectionLost);
  }
  return task_->acceptsEncodings ? prepareDecoding() : std::nullopt;
}

// libcurl 7.88 says OK of an HTTP/2 stream that its connection left unfinished, where several
// streams were on it. A length shows that; where there is none, HTTP/1.1 says where a body ends.
bool Transfer::needsHTTP1() const {
  const bool hasBody = statusCode_ != 204 && statusCode_ != 304;
  const bool isUsed = task_->isDownload() || isSuccess(statusCode_);
  return multiplexed_ && hasBody && isUsed && !contentLength();
}

// The body's length as the head gives it.
std::optional<std::uint64_t> Transfer::contentLength() const {
  for (const auto& [name, value] : fields_) {
    std::uint64_t length = 0;
    const char* const end = value.data() + value.size();
    const bool isLength = equalsIgnoringASCIICase(name, "content-length");
    if (isLength && std::from_chars(value.data(), end, length).ec == std::errc()) return length;
  }
  return std::nullopt;
}

// What libcurl calls a success.
bool Transfer::isWhole() const {
  if (!headComplete_) return false;
  const bool hasBody = statusCode_ != 204 && statusCode_ != 304;
  return !multiplexed_ || !hasBody || contentLength().value_or(received_) == received_;
}

// Of several lengths libcurl takes the last one, and of a list in one field the first. Where they
// differ, none can be trusted (RFC 9112, section 6.3).
bool Transfer::hasContradictingLengths() const {
  std::optional<std::string_view> first;
  bool differ = false;
  for (const auto& [name, value] : fields_) {
    if (equalsIgnoringASCIICase(name, "transfer-encoding")) return false;  // says where it ends
    if (!equalsIgnoringASCIICase(name, "content-length")) continue;
    for (std::size_t begin = 0, end = 0; end != std::string::npos; begin = end + 1) {
      end = value.find(',', begin);
      const std::string_view length =
          trimWhitespaceAndNewlines(std::string_view(value).substr(begin, end - begin));
      differ = differ || first.value_or(length) != length;
      first = length;
    }
  }
  return differ;
}

std::optional<Error> Transfer::prepareDecoding() {
  for (const auto& [name, value] : fields_) {
    if (!equalsIgnoringASCIICase(name, "content-encoding")) continue;
    const auto isCoding = [&coding = value](const char* known) {
      return equalsIgnoringASCIICase(coding, known);
    };
    if (value.empty() || isCoding("identity") || isCoding("none")) continue;
    if ((isCoding("gzip") || isCoding("x-gzip")) && !coding_) {
      coding_ = std::make_unique<GzipCoding>();
    } else if (isSuccess(statusCode_)) {  // of a failure the status says enough
      return urlError(kURLErrorCannotDecodeContentData);
    }
  }
  return std::nullopt;
}

void Transfer::keepField(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return;
  fields_.emplace_back(line.substr(0, colon), trimWhitespaceAndNewlines(line.substr(colon + 1)));
  if (isField(line, "location")) location_ = fields_.back().second;
}

std::size_t Transfer::onBody(const char* bytes, std::size_t size, std::size_t count, void* self) {
  auto* transfer = static_cast<Transfer*>(self);
  if (transfer->isRedirect()) {
    // What it says is for people. One short enough to be read leaves its connection in use.
    transfer->passedOver_ += size * count;
    return transfer->passedOver_ > kLongestRedirectBody ? CURL_WRITEFUNC_ERROR : size * count;
  }
  transfer->failure_ = transfer->receive({bytes, size * count});
  return transfer->failure_ ? CURL_WRITEFUNC_ERROR : size * count;
}

std::optional<Error> Transfer::receive(std::string_view bytes) {
  lastActivity_ = TransferClock::now();
  receivedAnything_ = true;
  received_ += bytes.size();
  return task_->isDownload() ? receiveInFile(bytes) : receiveInMemory(bytes);
}

std::optional<Error> Transfer::receiveInFile(std::string_view bytes) {
  const std::uint64_t bound =
      task_->request.maximumFileSize.value_or(task_->session->configuration.maximumFileSize);
  fileSize_ += bytes.size();
  if (fileSize_ > bound) return urlError(kURLErrorDataLengthExceedsMaximum);
  if (!file_.isOpen()) {
    if (auto error = file_.open(task_->folder)) return error;
  }
  return file_.write(bytes.data(), bytes.size());
}

std::optional<Error> Transfer::receiveInMemory(std::string_view bytes) {
  const std::size_t maximumSize = task_->session->configuration.maximumBodySize;
  try {
    if (coding_) return coding_->append(bytes, body_, maximumSize);
    if (bytes.size() > maximumSize - body_.size()) {
      return urlError(kURLErrorDataLengthExceedsMaximum);
    }
    if (body_.empty()) {
      const std::size_t length = contentLength().value_or(0);
      if (length > 0) reserveLarge(body_, std::min(length, kLargestReservation));
    }
    appendLarge(body_, bytes, maximumSize);
  } catch (const std::bad_alloc&) {
    return posixError(ENOMEM);
  }
  return std::nullopt;
}

bool Transfer::isRedirect() const {
  return headComplete_ && location_ && isRedirectStatus(statusCode_);
}

// A server that ends a connection after so many requests, or after so many seconds, leaves those
// that were on their way to it without an answer.
bool Transfer::wasLeftUnprocessed(CURLcode result) const {
  if (receivedAnything_ || isPost()) return false;
  switch (result) {
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

// libcurl stops sending when a refusal has come, or any answer after which the server hangs up.
bool Transfer::wasCutShort() const {
  if (!isPost()) return false;
  curl_off_t sent = 0;
  curl_easy_getinfo(easy_, CURLINFO_SIZE_UPLOAD_T, &sent);
  return static_cast<std::size_t>(sent) < task_->request.body->size();
}

std::optional<Error> Transfer::followRedirect() {
  const URL& base = *task_->request.url;
  std::optional<URL> url = URL::parse(resolved(base, *location_));
  const bool isLast = task_->redirects == kMaximumRedirects;
  if (isPost() && (isLast || !mayRepeat(base, statusCode_, url))) {
    return redirectRefused(base, url, *location_);
  }
  if (isLast) return urlError(kURLErrorTooManyRedirects);
  ++task_->redirects;
  task_->resent = false;
  task_->onFreshConnection = false;
  if (!url) return urlError(kURLErrorBadURL);
  if (!url->isHTTP()) return urlError(kURLErrorUnsupportedURL);
  if (url->host().empty()) return urlError(kURLErrorBadURL);
  const TransferSession& session = *task_->session;
  if (session.configuration.onInsecureRedirect && base.isTLS() && !url->isTLS()) {
    session.callbackQueue.post([tell = session.configuration.onInsecureRedirect, from = base,
                                to = *url] { tell(from, to); });
  }
  task_->request.url = std::move(url);
  return std::nullopt;
}

Error Transfer::errorFor(CURLcode result) const {
  // libcurl 7.88 says OK of a connection that ends, in order, inside the answer's head. The same
  // goes for one that ends after nothing but interim answers.
  if (result == CURLE_OK) return urlError(kURLErrorNetworkConnectionLost);
  if (result == CURLE_COULDNT_CONNECT && socketError_ != 0) return posixError(socketError_);
  Error error = urlErrorForCurlCode(result);
  // It may name a proxy, with the password that its address had.
  error.detail = withoutPasswords(errorText_[0] != '\0' ? errorText_ : curl_easy_strerror(result));
  return error;
}

TransferOutcome Transfer::finish(CURLcode result) {
  TransferOutcome outcome;
  const bool isSuccessful = result == CURLE_OK && isWhole();
  if (headComplete_) {
    outcome.response =
        HTTPResponse{statusCode_, wasCutShort(), task_->request.url, std::move(fields_)};
  }
  if (failure_ && task_->withoutHTTP2 && multiplexed_) {
    outcome.sendAgain = true;
  } else if (failure_) {
    outcome.error = std::move(failure_);
  } else if (isRedirect()) {  // however its body ended
    outcome.error = followRedirect();
    outcome.sendAgain = !outcome.error;
    if (isRedirectRefusal(outcome.error)) outcome.response.reset();
  } else if (isSuccessful) {
    if (task_->isDownload() && !file_.isOpen()) outcome.error = file_.open(task_->folder);
    if (coding_ && coding_->isCut()) outcome.error = urlError(kURLErrorCannotDecodeContentData);
  } else if (!task_->resent && wasLeftUnprocessed(result)) {
    task_->resent = true;
    // Other kept connections may be as dead as this one was. Over HTTP/2 a hundred requests may
    // come back at once; they share one.
    task_->onFreshConnection = result != CURLE_HTTP2 && result != CURLE_HTTP2_STREAM;
    outcome.sendAgain = true;
  } else {
    outcome.error = errorFor(result);
  }
  if (!outcome.error && !outcome.sendAgain) {
    outcome.body = std::move(body_);
    outcome.file = std::move(file_);
  }
  if (!outcome.sendAgain) task_->request.body.reset();  // large, and of no more use
  task_->timeSpent += age();
  outcome.task = std::move(task_);
  return outcome;
}

}  // namespace tolvane
