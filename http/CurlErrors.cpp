// SPDX-License-Identifier: MIT
#include "http/CurlErrors.h"

namespace tolvane {

namespace {

const char* sentenceFor(int code) {
  switch (code) {
    case kURLErrorBadURL:
      return "bad URL";
    case kURLErrorTimedOut:
      return "The request timed out.";
    case kURLErrorUnsupportedURL:
      return "unsupported URL";
    case kURLErrorCannotFindHost:
      return "A server with the specified hostname could not be found.";
    case kURLErrorCannotConnectToHost:
      return "Could not connect to the server.";
    case kURLErrorNetworkConnectionLost:
      return "The network connection was lost.";
    case kURLErrorTooManyRedirects:
      return "too many HTTP redirects";
    case kURLErrorBadServerResponse:
      return "bad server response";
    case kURLErrorCannotDecodeContentData:
      return "cannot decode content data";
    case kURLErrorDataLengthExceedsMaximum:
      return "resource exceeds maximum size";
    case kURLErrorSecureConnectionFailed:
      return "An SSL error has occurred and a secure connection to the server cannot be made.";
    case kURLErrorServerCertificateUntrusted:
      return "The certificate for this server is invalid.";
    default:
      return "unknown error";
  }
}

int codeFor(CURLcode code) {
  switch (code) {
    case CURLE_OPERATION_TIMEDOUT:
      return kURLErrorTimedOut;
    case CURLE_URL_MALFORMAT:
      return kURLErrorBadURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return kURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
      return kURLErrorCannotConnectToHost;
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_PARTIAL_FILE:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
      return kURLErrorNetworkConnectionLost;
    case CURLE_UNSUPPORTED_PROTOCOL:  // the response is no HTTP; the scheme was checked
    case CURLE_WEIRD_SERVER_REPLY:
      return kURLErrorBadServerResponse;
    case CURLE_BAD_CONTENT_ENCODING:
      return kURLErrorCannotDecodeContentData;
    case CURLE_OUT_OF_MEMORY:
      return kURLErrorDataLengthExceedsMaximum;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_INITFAILED:
      return kURLErrorSecureConnectionFailed;
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return kURLErrorServerCertificateUntrusted;
    default:
      return kURLErrorUnknown;
  }
}

}  // namespace

Error urlError(int code) {
  return {std::string(kURLErrorDomain), code, sentenceFor(code)};
}

Error urlErrorForCurlCode(CURLcode code) {
  Error error = urlError(codeFor(code));
  if (error.code == kURLErrorUnknown) error.description = curl_easy_strerror(code);
  return error;
}

}  // namespace tolvane
