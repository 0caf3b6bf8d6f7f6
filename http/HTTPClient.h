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

// Bodies that are held in memory end here, counted after an HTTP content encoding was undone.
inline constexpr std::size_t kMaximumBodySize = std::size_t{512} << 20;

// A downloaded file of which no size is known ends here.
inline constexpr std::uint64_t kMaximumFileSize = std::uint64_t{4} << 30;

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

struct HTTPOptions {
  // The longest wait for further bytes, in either direction; before the first one it covers name,
  // connection and TLS.
  std::chrono::milliseconds timeoutIntervalForRequest = std::chrono::seconds(60);
  // The longest a whole transfer may take, redirects included.
  std::chrono::milliseconds timeoutIntervalForResource = std::chrono::hours(24 * 7);
  // Connections, not transfers: over HTTP/2 each carries up to 100 of them.
  int maximumConnectionsPerHost = 6;
  // The longest body of a data task.
  std::size_t maximumBodySize = kMaximumBodySize;
  // The longest body of a download whose request names no bound of its own.
  std::uint64_t maximumFileSize = kMaximumFileSize;
  std::string userAgent = {};  // "" for the program's own
  // Sent with every request to the server of this origin (URL::origin()), and to no other one,
  // redirects included. They replace fields of the same name.
  std::string headersOrigin = {};
  HeaderFields headers = {};
  // Called before a transfer starts, on the transport's thread, which it must not hold up. An error
  // ends the task without a request.
  std::function<std::optional<Error>()> refusal = {};
  // Called on the session's callback queue for each redirect from https to http, before it is
  // followed.
  std::function<void(const URL& from, const URL& to)> onInsecureRedirect = {};
};

// A GET or, with a body, a POST. No session keeps a cache.
//
// A GET's header fields go along to wherever a redirect leads, so none may hold what only its first
// server should know. A POST keeps to its own scheme, host and port: 307 and 308 within them repeat
// it whole, 20 times at most; any other redirect ends it with
// kURLErrorRedirectToNonExistentLocation, without a response and with the name of the host in the
// description. No server gets a POST twice unless it asks for that by such a redirect: it goes out
// on a new connection of HTTP/1.1, and when that breaks it is lost.
struct HTTPRequest {
  std::optional<URL> url;
  // An empty value is sent as one, and so is a value of blanks alone: a server takes the blanks
  // around a value for no part of it (RFC 9110, section 5.5). A field with a line break or a NUL in
  // it is never sent: the request fails with kURLErrorUnknown.
  HeaderFields headers;
  std::optional<std::string> body = {};               // sent from here, without a copy
  std::optional<std::uint64_t> maximumFileSize = {};  // of a download; else the configuration's
};

struct HTTPResponse {
  int statusCode = 0;
  // It came before the whole of a POST was sent, and the rest never was: the server refused what it
  // had not seen, or was going to hang up.
  bool cutRequestShort = false;
  std::optional<URL> url = {};  // that answered, the last one of a row of redirects
  HeaderFields headers = {};    // of its answer, in their order, names and values as received
};

// 0 where no response arrived.
inline int statusOf(const std::optional<HTTPResponse>& response) {
  return response ? response->statusCode : 0;
}

inline bool isSuccess(int status) {
  return status >= 200 && status <= 299;
}

// The request for an index: `url` with Cache-Control and Pragma set to no-cache.
HTTPRequest uncachedRequest(std::optional<URL> url);

// Sends HTTP and HTTPS requests. It is cheap to make; connections and TLS sessions are pooled for
// the whole process, so a fresh session for each request costs no handshakes. A session may go
// while its requests are under way; they carry on.
//
// Completions are called exactly once, one at a time, on the session's own serial background
// queue; one that is still to come when the process ends, is not called. The error is one of
// kURLErrorDomain, or of kPOSIXErrorDomain where the disk refused. An answer that ends early comes
// with both its response and an error. Redirects are followed within http and https, at most 20;
// what they say beside the new place is passed over, and not for long.
class HTTPClient {
 public:
  using BodyCompletion =
      std::function<void(std::string body, std::optional<HTTPResponse>, std::optional<Error>)>;
  using FileCompletion =
      std::function<void(TemporaryFile file, std::optional<HTTPResponse>, std::optional<Error>)>;

  virtual ~HTTPClient() = default;

  // Reads the answer into memory. The content coding gzip is asked for and undone, except where
  // the URL's path ends in ".gz", ".bz2" or ".xz". A body of more than maximumBodySize ends
  // with kURLErrorDataLengthExceedsMaximum, one for which there is no memory with ENOMEM.
  virtual void send(HTTPRequest request, BodyCompletion completion) = 0;

  // Writes the answer, byte for byte as it was stored, to a temporary file that can be moved into
  // `folder` (which need not exist yet) and flushes it to the disk. The file is open exactly when
  // there is no error; any status counts as an answer.
  virtual void download(HTTPRequest request, const std::string& folder,
                        FileCompletion completion) = 0;
};

using HTTPClientFactory = std::function<std::shared_ptr<HTTPClient>(const HTTPOptions&)>;

// The default factory: sessions over the process's one transport.
std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& configuration);

}  // namespace tolvane
