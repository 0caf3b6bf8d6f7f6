// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/TemporaryFile.h"
#include "base/URL.h"

namespace tolvane {

// The longest body that is held in memory, in bytes, counted after its content coding was decoded.
inline constexpr std::size_t kMaximumBodySize = std::size_t{512} << 20;

// The longest file that is downloaded where its size is not known.
inline constexpr std::uint64_t kMaximumFileSize = std::uint64_t{4} << 30;

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

struct HTTPOptions {
  // The longest wait for the next byte, received or sent. The wait for the first one includes name
  // look-up, connection and TLS handshake.
  std::chrono::milliseconds timeoutIntervalForRequest = std::chrono::seconds(60);
  // The longest time from sending a request to the end of its response, redirects included.
  std::chrono::milliseconds timeoutIntervalForResource = std::chrono::hours(24 * 7);
  // Connections, not requests: over HTTP/2 each carries up to 100 of them.
  int maximumConnectionsPerHost = 6;
  // The longest body that send() takes.
  std::size_t maximumBodySize = kMaximumBodySize;
  // The longest file that download() takes, for requests without a limit of their own.
  std::uint64_t maximumFileSize = kMaximumFileSize;
  std::string userAgent = {};  // "" for the program's own
  // Sent with every request to the server of this origin (URL::origin()), and to no other server,
  // redirects included. They replace fields of the same name.
  std::string headersOrigin = {};
  HeaderFields headers = {};
  // Called before a request is sent, on the thread that drives libcurl, which it must not block. An
  // error ends the request unsent.
  std::function<std::optional<Error>()> refusal = {};
  // Called on the client's callback queue for each redirect from https to http, before it is
  // followed.
  std::function<void(const URL& from, const URL& to)> onInsecureRedirect = {};
};

// A GET or, with a body, a POST. Nothing is cached.
//
// A GET is sent with its header fields to every server that a redirect leads to, so none of them
// may be a secret. A POST stays on its origin (scheme, host and port): a 307 or 308 to the same
// origin repeats it with its body, 20 times at most; any other redirect ends it with
// kURLErrorRedirectToNonExistentLocation, without a response and with the name of the host in the
// description. Only such a redirect makes a server get a POST twice: it is sent on a new HTTP/1.1
// connection, and when that breaks, the request fails.
struct HTTPRequest {
  std::optional<URL> url;
  // An empty value, or one of blanks alone, is sent as an empty value: the blanks around a value
  // are not part of it (RFC 9110, section 5.5). A field with a line break or a NUL is never sent:
  // the request fails with kURLErrorUnknown.
  HeaderFields headers;
  std::optional<std::string> body = {};               // sent from here, without a copy
  std::optional<std::uint64_t> maximumFileSize = {};  // of a download; else that of the options
};

struct HTTPResponse {
  int statusCode = 0;
  // The server responded before a POST was sent to its end, and the rest was never sent.
  bool cutRequestShort = false;
  std::optional<URL> url = {};  // that responded, the last one of several redirects
  HeaderFields headers = {};    // in their order, names and values as received
};

// 0 where no response arrived.
inline int statusOf(const std::optional<HTTPResponse>& response) {
  return response ? response->statusCode : 0;
}

inline bool isSuccess(int status) {
  return status >= 200 && status <= 299;
}

// The request for an index: `url` with Cache-Control and Pragma set to no-cache.
inline HTTPRequest uncachedRequest(std::optional<URL> url) {
  return {std::move(url), {{"Cache-Control", "no-cache"}, {"Pragma", "no-cache"}}};
}

// Sends HTTP and HTTPS requests. A client is cheap to make, since all clients of the process share
// their connections and TLS sessions: a new client for each request costs no handshakes. A client
// may be destroyed while its requests are under way; they are carried out.
//
// Completions are called exactly once, one at a time, on the client's own serial background queue;
// one that is still to be called when the process ends is not called. The error is one of
// kURLErrorDomain or, where a file cannot be written, of kPOSIXErrorDomain. A response that ends
// early comes with both a response and an error. Redirects are followed to http and https URLs, at
// most 20; their bodies are discarded, and waited for no longer than a second.
class HTTPClient {
 public:
  using BodyCompletion =
      std::function<void(std::string body, std::optional<HTTPResponse>, std::optional<Error>)>;
  using FileCompletion =
      std::function<void(TemporaryFile file, std::optional<HTTPResponse>, std::optional<Error>)>;

  virtual ~HTTPClient() = default;

  // Reads the body into memory. The content coding gzip is asked for and decoded, except where the
  // path of the URL ends in ".gz", ".bz2" or ".xz". A body of more than maximumBodySize ends with
  // kURLErrorDataLengthExceedsMaximum, one for which there is no memory with ENOMEM.
  virtual void send(HTTPRequest request, BodyCompletion completion) = 0;

  // Writes the body, without decoding it, to a temporary file that can be moved into `folder`
  // (which need not exist yet), and flushes it. The file is open exactly when there is no error.
  // The body of any status is written.
  virtual void download(HTTPRequest request, const std::string& folder,
                        FileCompletion completion) = 0;
};

using HTTPClientFactory = std::function<std::shared_ptr<HTTPClient>(const HTTPOptions&)>;

// The HTTPClientFactory of the program.
std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& options);

}  // namespace tolvane
