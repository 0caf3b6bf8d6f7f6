// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "archive_client/MissingPackages.h"
#include "base/Error.h"
#include "http/HTTPClient.h"
#include "model/PackageEntry.h"
#include "model/RepositoryKind.h"

namespace tolvane {

// Domain of the client's own errors. Those of transport and JSON are passed on unchanged.
inline constexpr std::string_view kCentralArchiveErrorDomain = "CentralArchiveClient";

// A repository's type as the archive knows it: "APT", "Installer4" or "Installer3". It follows what
// was chosen, not what the repository turned out to be, so automatic detection counts as APT.
std::string_view archiveTypeOf(RepositoryKind kind);

// Whether a header field can carry the secret or token: one ends at CR or LF, and libcurl's strings
// at a NUL.
bool canBeSent(std::string_view credential);

// The client of a central archive, a server that collects the packages of repositories. Three
// requests, all of them POST with a JSON answer: which packages of a repository are missing there,
// a token for uploads, and the upload of one package. docs/central-archive-api.md has the wire
// format.
//
// A completion is called exactly once: for a failure before anything is sent, on the caller's
// thread before the operation returns, otherwise on a background thread. Calls may overlap, nothing
// is tried again, and the client may be destroyed before they end. The HTTP status of an answer is
// logged and decides nothing.
//
// An answer that comes before the whole request was sent may be a failure in the server's words. A
// success that comes so early is a transport error instead.
//
// Secret and token are sent to the base URL's own scheme, host and port and nowhere else. A
// redirect to another, or one that would drop the request's body, is a transport error.
class CentralArchiveClient {
 public:
  // The list is empty on failure. Valid JSON that is no object gives an empty list and no error.
  using CheckCompletion = std::function<void(MissingPackages, std::optional<Error>)>;
  // Valid JSON that is no object gives neither.
  using TokenCompletion =
      std::function<void(std::optional<std::string> token, std::optional<Error>)>;
  // Valid JSON that is no object gives false and no error.
  using UploadCompletion = std::function<void(bool uploaded, std::optional<Error>)>;

  explicit CentralArchiveClient(std::string apiBaseURL, std::string apiSecret,
                                HTTPClientFactory clientFactory = makeHTTPClient);

  CentralArchiveClient(const CentralArchiveClient&) = delete;  // the token is one client's
  CentralArchiveClient& operator=(const CentralArchiveClient&) = delete;

  // The properties are not guarded, but for the token, which the background thread sets.
  const std::string& apiBaseURL() const { return apiBaseURL_; }
  void setApiBaseURL(std::string url) { apiBaseURL_ = std::move(url); }

  // A secret with a line break or NUL in it counts as an empty one: no header field can carry it.
  const std::string& apiSecret() const { return apiSecret_; }
  void setApiSecret(std::string secret) { apiSecret_ = std::move(secret); }

  // The token that was received last; "" until then. A request that fails leaves it as it is. With
  // a token that has a line break or NUL in it nothing is uploaded.
  std::string uploadToken() const;
  void setUploadToken(std::string token);

  // The base URL, "/" unless it ends in one, and the path. Nothing is encoded.
  std::string endpointURLStringForPath(std::string_view path) const;

  // Asks which of the packages the archive lacks. Errors 1001 to 1003. A repository type is one of
  // archiveTypeOf(); "APT" stands in for none.
  void checkRepositoryURL(std::string_view repositoryURL,
                          std::optional<std::string_view> repositoryType,
                          const std::vector<PackageEntry>& packages,
                          CheckCompletion completion) const;

  // Announces that many uploads and gets the token for them, which is also kept for
  // uploadPackage(). A token for which canBeSent() is false counts as none. Sends no credential.
  // Errors 3001, 3003 to 3005.
  void requestUploadTokenForRepositoryURL(std::string_view repositoryURL,
                                          std::optional<std::string_view> repositoryType,
                                          std::size_t packageCount, TokenCompletion completion);

  // Sends a file with the fields of its record, under the token or, where there is none, the
  // secret; error 2000 where canBeSent() is false for that. The whole file is in memory meanwhile.
  // Errors 2000 to 2004. The outcome is not reported on the log bus.
  void uploadPackage(const PackageEntry& package, std::string_view repositoryURL,
                     std::optional<std::string_view> repositoryType,
                     const std::string& localFilePath, UploadCompletion completion) const;

  // Appends one part of a multipart form (RFC 7578). Nothing is escaped.
  static void appendFormField(std::string_view name, std::string_view value,
                              std::string_view boundary, std::string& body);

 private:
  struct Token;

  void send(HTTPRequest request, std::chrono::seconds requestTimeout,
            std::chrono::seconds resourceTimeout, HTTPClient::BodyCompletion completion) const;
  std::optional<std::pair<std::string, std::string>> uploadCredential() const;

  std::string apiBaseURL_;
  std::string apiSecret_;
  std::shared_ptr<Token> token_;  // shared with the requests under way
  HTTPClientFactory clientFactory_;
};

}  // namespace tolvane
