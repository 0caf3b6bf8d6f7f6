// SPDX-License-Identifier: MIT
#include "http/CurlClient.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "http/CurlErrors.h"
#include "http/CurlMulti.h"

namespace tolvane {

namespace {

// The body of such a path is compressed already, and its reader wants it that way.
bool isCompressedPath(std::string_view path) {
  return path.ends_with(".gz") || path.ends_with(".bz2") || path.ends_with(".xz");
}

bool canBeSent(const std::pair<std::string, std::string>& field) {
  constexpr std::string_view kBreaks("\r\n\0", 3);
  return field.first.find_first_of(kBreaks) == std::string::npos &&
         field.second.find_first_of(kBreaks) == std::string::npos;
}

// Why a request cannot be sent to any server.
std::optional<Error> errorIn(const HTTPRequest& request) {
  if (!request.url || !request.url->isHTTP()) return urlError(kURLErrorUnsupportedURL);
  if (request.url->host().empty()) return urlError(kURLErrorBadURL);
  if (!std::ranges::all_of(request.headers, canBeSent)) {
    return Error{std::string(kURLErrorDomain), kURLErrorUnknown,
                 "a header field with a line break cannot be sent"};
  }
  return std::nullopt;
}

}  // namespace

CurlClient::CurlClient(const HTTPOptions& options, std::weak_ptr<CurlMulti> multi)
    : options_(options), multi_(std::move(multi)) {}

void CurlClient::send(HTTPRequest request, BodyCompletion completion) {
  submit(std::move(request), "", std::move(completion));
}

void CurlClient::download(HTTPRequest request, const std::string& folder,
                          FileCompletion completion) {
  submit(std::move(request), folder, std::move(completion));
}

void CurlClient::submit(HTTPRequest request, const std::string& folder,
                        HTTPTask::Completion completion) {
  const std::shared_ptr<CurlMulti> multi = multi_.lock();
  if (!multi) return;
  auto task = std::make_unique<HTTPTask>();
  task->request = std::move(request);
  task->folder = folder;
  task->completion = std::move(completion);
  task->client = shared_from_this();
  if (std::optional<Error> error = errorIn(task->request)) {
    multi->complete(std::move(task), {.error = std::move(error)});
    return;
  }
  task->acceptsGzip = !task->isDownload() && !isCompressedPath(task->request.url->path());
  multi->submit(std::move(task));
}

std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& options) {
  return std::make_shared<CurlClient>(options, CurlMulti::shared());
}

}  // namespace tolvane
