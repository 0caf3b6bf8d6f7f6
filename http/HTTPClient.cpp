// SPDX-License-Identifier: MIT
#include "http/HTTPClient.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "http/TransferErrors.h"
#include "http/TransferInbox.h"
#include "http/TransferOutcome.h"
#include "http/TransferTask.h"
#include "http/Transport.h"

namespace tolvane {

namespace {

// A body under such a name is what a content encoding would have made of it, so none is asked for.
bool isPackedPath(std::string_view path) {
  return path.ends_with(".gz") || path.ends_with(".bz2") || path.ends_with(".xz");
}

bool canBeSent(const std::pair<std::string, std::string>& field) {
  constexpr std::string_view kBreaks("\r\n\0", 3);
  return field.first.find_first_of(kBreaks) == std::string::npos &&
         field.second.find_first_of(kBreaks) == std::string::npos;
}

// Why no server can be asked.
std::optional<Error> errorIn(const HTTPRequest& request) {
  if (!request.url || !request.url->isHTTP()) return urlError(kURLErrorUnsupportedURL);
  if (request.url->host().empty()) return urlError(kURLErrorBadURL);
  if (!std::ranges::all_of(request.headers, canBeSent)) {
    return Error{std::string(kURLErrorDomain), kURLErrorUnknown,
                 "a header field with a line break cannot be sent"};
  }
  return std::nullopt;
}

class TransportClient : public HTTPClient {
 public:
  TransportClient(const HTTPOptions& configuration, std::shared_ptr<Transport> transport)
      : transport_(std::move(transport)), session_(std::make_shared<TransferSession>()) {
    session_->configuration = configuration;
    session_->inbox = transport_->inbox();
  }

  void send(HTTPRequest request, BodyCompletion completion) override {
    submit(std::move(request), "", std::move(completion));
  }

  void download(HTTPRequest request, const std::string& folder,
                FileCompletion completion) override {
    submit(std::move(request), folder, std::move(completion));
  }

 private:
  template <typename Completion>
  void submit(HTTPRequest request, const std::string& folder, Completion completion) {
    auto task = std::make_unique<TransferTask>();
    task->request = std::move(request);
    task->folder = folder;
    task->completion = std::move(completion);
    task->session = session_;
    TransferOutcome outcome;
    outcome.error = errorIn(task->request);
    if (!outcome.error) {
      task->acceptsEncodings = !task->isDownload() && !isPackedPath(task->request.url->path());
      session_->inbox->submit(std::move(task));
      return;
    }
    if (task->isDownload()) noteFileAtHand(*session_, 1);
    outcome.task = std::move(task);
    deliver(std::move(outcome));
  }

  std::shared_ptr<Transport> transport_;
  std::shared_ptr<TransferSession> session_;
};

}  // namespace

std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& configuration,
                                           std::shared_ptr<Transport> transport) {
  return std::make_shared<TransportClient>(configuration, std::move(transport));
}

std::shared_ptr<HTTPClient> makeHTTPClient(const HTTPOptions& configuration) {
  return makeHTTPClient(configuration, Transport::shared());
}

HTTPRequest uncachedRequest(std::optional<URL> url) {
  return {std::move(url), {{"Cache-Control", "no-cache"}, {"Pragma", "no-cache"}}};
}

}  // namespace tolvane
