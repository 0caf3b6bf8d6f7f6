// SPDX-License-Identifier: MIT
#include "http/CurlErrors.h"

namespace tolvane {
namespace {

Error error(int code, const char* sentence) {
  return {"NSURLErrorDomain", code, sentence};
}

TEST(CurlErrors, EveryCodeHasItsSentence) {
  for (const Error& expected :
       {error(-1000, "bad URL"), error(-1001, "The request timed out."),
        error(-1002, "unsupported URL"),
        error(-1003, "A server with the specified hostname could not be found."),
        error(-1004, "Could not connect to the server."),
        error(-1005, "The network connection was lost."), error(-1007, "too many HTTP redirects"),
        error(-1011, "bad server response"), error(-1016, "cannot decode content data"),
        error(-1103, "resource exceeds maximum size"),
        error(-1200,
              "An SSL error has occurred and a secure connection to the server cannot be made."),
        error(-1202, "The certificate for this server is invalid.")}) {
    EXPECT_EQ(urlError(expected.code), expected);
  }
}

TEST(CurlErrors, EveryFailureOfATransferHasItsCode) {
  const auto codeOf = [](CURLcode code) { return urlErrorForCurlCode(code).code; };
  EXPECT_EQ(codeOf(CURLE_URL_MALFORMAT), -1000);
  EXPECT_EQ(codeOf(CURLE_OPERATION_TIMEDOUT), -1001);
  EXPECT_EQ(codeOf(CURLE_COULDNT_RESOLVE_HOST), -1003);
  EXPECT_EQ(codeOf(CURLE_COULDNT_RESOLVE_PROXY), -1003);
  EXPECT_EQ(codeOf(CURLE_COULDNT_CONNECT), -1004);
  for (const CURLcode code : {CURLE_GOT_NOTHING, CURLE_SEND_ERROR, CURLE_RECV_ERROR,
                              CURLE_PARTIAL_FILE, CURLE_HTTP2, CURLE_HTTP2_STREAM}) {
    EXPECT_EQ(codeOf(code), -1005) << code;
  }
  EXPECT_EQ(codeOf(CURLE_WEIRD_SERVER_REPLY), -1011);
  EXPECT_EQ(codeOf(CURLE_BAD_CONTENT_ENCODING), -1016);
  EXPECT_EQ(codeOf(CURLE_OUT_OF_MEMORY), -1103);
  EXPECT_EQ(codeOf(CURLE_SSL_CONNECT_ERROR), -1200);
  EXPECT_EQ(codeOf(CURLE_PEER_FAILED_VERIFICATION), -1202);
}

TEST(CurlErrors, AFailureWithoutACodeOfItsOwnHasTheSentenceOfLibcurl) {
  const Error unknown = urlErrorForCurlCode(CURLE_FAILED_INIT);
  EXPECT_EQ(unknown.domain, "NSURLErrorDomain");
  EXPECT_EQ(unknown.code, -1);
  EXPECT_EQ(unknown.description, curl_easy_strerror(CURLE_FAILED_INIT));
}

}  // namespace
}  // namespace tolvane
