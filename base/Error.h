// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// A failure as a value. Operations that can fail return std::optional<Error>, or pass one to their
// completion; no value means success. No exception leaves the folder that threw it.
struct Error {
  std::string domain;
  int code = 0;
  std::string description;  // one sentence for the user
  std::string detail = {};  // the message of a library, "" if there is none

  // The detail is not compared: it only words the same failure in another way.
  bool operator==(const Error& other) const {
    return domain == other.domain && code == other.code && description == other.description;
  }
};

// Domains and codes of the errors of transfers and of the operating system.
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

// The error for an errno value, in kPOSIXErrorDomain and with the sentence of strerror(3).
Error posixError(int errorNumber);

// The error's description; `otherwise` if it is empty or there is no error.
std::string descriptionOr(const std::optional<Error>& error, std::string_view otherwise);

// The form of an error in a line of the system log: "Error Domain=D Code=C "description"", or
// "(null)".
std::string describe(const std::optional<Error>& error);

}  // namespace tolvane
