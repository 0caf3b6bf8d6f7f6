// SPDX-License-Identifier: MIT
#include "http/Redirect.h"

#include <curl/curl.h>
#include <memory>
#include <string_view>
#include <utility>

#include "http/CurlClient.h"
#include "http/CurlErrors.h"

namespace tolvane {

namespace {

constexpr int kMaximumRedirects = 20;

// `reference` resolved against `base`; unchanged where it is no URL reference.
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

// Whether a POST may be sent to `target`: unchanged, and to its own server only.
bool mayRepeatPost(const URL& base, int statusCode, const std::optional<URL>& target) {
  return (statusCode == 307 || statusCode == 308) && target && target->origin() == base.origin();
}

// The host in a reference whose path or query is no valid one; "" where it names none.
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

}  // namespace

std::optional<Error> followRedirect(HTTPTask& task, int statusCode, const std::string& location) {
  const URL& base = *task.request.url;
  std::optional<URL> target = URL::parse(resolved(base, location));
  const bool isLast = task.redirects == kMaximumRedirects;
  if (task.request.body && (isLast || !mayRepeatPost(base, statusCode, target))) {
    return redirectRefused(base, target, location);
  }
  if (isLast) return urlError(kURLErrorTooManyRedirects);
  if (!target) return urlError(kURLErrorBadURL);
  if (!target->isHTTP()) return urlError(kURLErrorUnsupportedURL);
  if (target->host().empty()) return urlError(kURLErrorBadURL);
  const auto& onInsecureRedirect = task.client->options().onInsecureRedirect;
  if (onInsecureRedirect && base.isTLS() && !target->isTLS()) {
    task.client->callbackQueue().post(
        [report = onInsecureRedirect, from = base, to = *target] { report(from, to); });
  }
  ++task.redirects;
  task.resent = false;
  task.onFreshConnection = false;
  task.request.url = std::move(target);
  return std::nullopt;
}

}  // namespace tolvane
