// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// A failure as a value. Operations that can fail return std::optional<Error>, where no value means
// success, or hand one to their completion. Nothing in this program throws across a folder's
// border.
struct Error {
  std::string domain;
  int code = 0;
  std::string description;  // one sentence for people
  std::string detail = {};  // what the library below said of it, "" where it said nothing more

  // The detail makes no difference: it is another wording of the same failure.
  bool operator==(const Error& other) const {
    return domain == other.domain && code == other.code && description == other.description;
  }
};

// Domains and codes of the platform's own errors.
inline constexpr std::string_view kURLErrorDomain = "NSURLErrorDomain";
inline constexpr std::string_view kPOSIXErrorDomain = "NSPOSIXErrorDomain";

inline constexpr int kURLErrorUnknown = -1;
inline constexpr int kURLErrorBadURL = -1000;
inline constexpr int kURLErrorTimedOut = -1001;
inline constexpr int kURLErrorUnsupportedURL = -1002;
inline constexpr int kURLErrorCannotFindHost = -1003;
inline constexpr int kURLErrorCannotConnectToHost = -1004;
inline constexpr int kURLErrorNetworkConnectionLost = -1005;
inline constexpr int kURLErrorTooManyRedirects = -1007;
inline constexpr int kURLErrorRedirectToNonExistentLocation = -1010;
inline constexpr int kURLErrorBadServerResponse = -1011;
inline constexpr int kURLErrorCannotDecodeContentData = -1016;
inline constexpr int kURLErrorDataLengthExceedsMaximum = -1103;
inline constexpr int kURLErrorSecureConnectionFailed = -1200;
inline constexpr int kURLErrorServerCertificateUntrusted = -1202;

// The error for an errno value, in the system's own words: domain kPOSIXErrorDomain.
Error posixError(int errorNumber);

// What the error says of itself; `otherwise` where it says nothing, or there is no error.
std::string descriptionOr(const std::optional<Error>& error, std::string_view otherwise);

// As an error stands in a system-log line: "Error Domain=D Code=C "description"", or "(null)".
std::string describe(const std::optional<Error>& error);

}  // namespace tolvane
