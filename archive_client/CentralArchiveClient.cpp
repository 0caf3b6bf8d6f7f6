// SPDX-License-Identifier: MIT
#include "archive_client/CentralArchiveClient.h"

#include <fmt/format.h>
#include <mutex>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "archive_client/ArchiveAnswer.h"
#include "archive_client/CentralArchiveErrors.h"
#include "archive_client/CheckRequestBody.h"
#include "base/SystemLog.h"
#include "base/URL.h"
#include "model/CrawlerLogger.h"

namespace tolvane {

namespace {

using nlohmann::ordered_json;
using std::chrono::seconds;

// A list of a hundred thousand missing packages takes a tenth of it.
constexpr std::size_t kLongestAnswer = std::size_t{128} << 20;
constexpr std::size_t kLongestPreview = 1000;

// A server may refuse a request before it has read all of it, but cannot have succeeded with it.
std::optional<Error> errorOfEarlySuccess(std::string_view answer, const HTTPResponse& response) {
  if (!response.cutRequestShort || !ArchiveAnswer(answer).isOK()) return std::nullopt;
  return Error{std::string(kURLErrorDomain), kURLErrorNetworkConnectionLost,
               "The server answered before the whole request was sent."};
}

// A string for JSON was not UTF-8; `description` says of what.
Error encodingError(std::string description) {
  return {std::string(kJSONErrorDomain), kJSONWriteError, std::move(description)};
}

// No value where a string is not UTF-8, or where there is no memory for it.
std::optional<std::string> tokenBody(std::string_view repositoryURL,
                                     std::string_view repositoryType, std::size_t packageCount) {
  try {
    return ordered_json{{"repository_url", repositoryURL},
                        {"repository_type", repositoryType},
                        {"package_count", packageCount}}
        .dump();
  } catch (const ordered_json::exception&) {
    return std::nullopt;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

// Logs what the completion gets.
template <typename Completion, typename Nothing>
void fail(const Completion& completion, Nothing nothing, Error error) {
  CrawlerLogger::logError(error.description);
  completion(std::move(nothing), std::move(error));
}

// For a body that is not empty.
void readCheckAnswer(std::string_view body,
                     const CentralArchiveClient::CheckCompletion& completion) {
  ArchiveAnswer answer(body);
  if (const std::optional<Error>& error = answer.parseError()) {
    SystemLog::write("[CentralArchive] JSON parse error: {}", describe(error));
    CrawlerLogger::logError(fmt::format("Central archive JSON parse error: {}",
                                        descriptionOr(error, "Unknown parse error")));
    SystemLog::write("[CentralArchive] Response preview: {}", previewOf(body, kLongestPreview));
  }
  if (!answer.isDictionary()) {
    CrawlerLogger::logError("Central archive response was not a JSON dictionary.");
    return completion({}, answer.parseError());
  }
  if (!answer.isOK()) {
    std::string message = answer.errorText("Central archive check failed.");
    SystemLog::write("[CentralArchive] API error: {}", message);
    CrawlerLogger::logError("Central archive API error: " + message);
    return completion({}, archiveError(1003, std::move(message)));
  }
  std::vector<nlohmann::json> entries;
  nlohmann::json* list = answer.find("missing_packages");
  if (list && list->is_array()) entries = std::move(list->get_ref<nlohmann::json::array_t&>());
  MissingPackages missing(std::move(entries));
  SystemLog::write("[CentralArchive] Missing package count from server: {}", missing.size());
  CrawlerLogger::logSuccess(
      fmt::format("Central archive check complete. Missing package(s): {}", missing.size()));
  completion(std::move(missing), std::nullopt);
}

void finishCheck(std::string_view body, const std::optional<HTTPResponse>& response,
                 std::optional<Error> error,
                 const CentralArchiveClient::CheckCompletion& completion) {
  const int status = statusOf(response);
  SystemLog::write("[CentralArchive] HTTP status: {}", status);
  CrawlerLogger::logInfo(fmt::format("Central archive check HTTP status: {}", status));
  SystemLog::write("[CentralArchive] Response bytes: {}", body.size());
  if (error) {
    SystemLog::write("[CentralArchive] Request error: {}", describe(error));
    CrawlerLogger::logError("Central archive check failed: " +
                            descriptionOr(error, "Unknown error"));
    return completion({}, std::move(error));
  }
  if (body.empty()) {
    SystemLog::write("[CentralArchive] Empty response from server. HTTP status was: {}", status);
    return fail(completion, MissingPackages(),
                archiveError(1002, "Central archive returned an empty response."));
  }
  readCheckAnswer(body, completion);
}

// The token of an answer, or why there is none; both absent for valid JSON that is no object.
struct TokenResult {
  std::optional<std::string> token;
  std::optional<Error> error;
};

TokenResult readTokenAnswer(std::string_view body) {
  ArchiveAnswer answer(body);
  if (!answer.isDictionary()) {
    CrawlerLogger::logError(
        descriptionOr(answer.parseError(), "Upload token response was not a JSON dictionary."));
    return {std::nullopt, answer.parseError()};
  }
  if (!answer.isOK()) {
    std::string message = answer.errorText("Upload token request failed.");
    CrawlerLogger::logError("Upload token API error: " + message);
    return {std::nullopt, archiveError(3004, std::move(message))};
  }
  nlohmann::json* member = answer.find("upload_token");
  auto* token = member ? member->get_ptr<std::string*>() : nullptr;
  // With a token that no header field can carry, every upload would fail.
  if (token && !token->empty() && canBeSent(*token)) return {std::move(*token), std::nullopt};
  Error error = archiveError(3005, "Upload token response did not contain a token.");
  CrawlerLogger::logError(error.description);
  return {std::nullopt, std::move(error)};
}

// Logs every failure.
TokenResult tokenResultOf(std::string_view body, const std::optional<HTTPResponse>& response,
                          std::optional<Error> error) {
  SystemLog::write("[CentralArchive] Upload token HTTP status: {}", statusOf(response));
  if (error) {
    CrawlerLogger::logError("Upload token request failed: " +
                            descriptionOr(error, "Unknown error"));
    return {std::nullopt, std::move(error)};
  }
  if (body.empty()) {
    Error empty = archiveError(3003, "Upload token request returned an empty response.");
    CrawlerLogger::logError(empty.description);
    return {std::nullopt, std::move(empty)};
  }
  return readTokenAnswer(body);
}

}  // namespace

std::string_view archiveTypeOf(RepositoryKind kind) {
  if (kind == RepositoryKind::installer4) return "Installer4";
  if (kind == RepositoryKind::installer3) return "Installer3";
  return "APT";
}

bool canBeSent(std::string_view credential) {
  return credential.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

struct CentralArchiveClient::Token {
  std::mutex mutex;
  std::string value;

  std::string get() {
    const std::lock_guard lock(mutex);
    return value;
  }

  void set(std::string token) {
    const std::lock_guard lock(mutex);
    value = std::move(token);
  }
};

CentralArchiveClient::CentralArchiveClient(std::string apiBaseURL, std::string apiSecret,
                                           HTTPClientFactory clientFactory)
    : apiBaseURL_(std::move(apiBaseURL)),
      apiSecret_(std::move(apiSecret)),
      token_(std::make_shared<Token>()),
      clientFactory_(std::move(clientFactory)) {}

std::string CentralArchiveClient::uploadToken() const {
  return token_->get();
}

void CentralArchiveClient::setUploadToken(std::string token) {
  token_->set(std::move(token));
}

std::string CentralArchiveClient::endpointURLStringForPath(std::string_view path) const {
  std::string endpoint = apiBaseURL_;
  if (!endpoint.ends_with('/')) endpoint += '/';
  return endpoint.append(path);
}

void CentralArchiveClient::checkRepositoryURL(std::string_view repositoryURL,
                                              std::optional<std::string_view> repositoryType,
                                              const std::vector<PackageEntry>& packages,
                                              CheckCompletion completion) const {
  std::optional<URL> url = URL::parse(endpointURLStringForPath("check_repo.php"));
  SystemLog::write("[CentralArchive] Check endpoint: {}", describe(url));
  SystemLog::write("[CentralArchive] Repository URL: {}", withoutPasswords(repositoryURL));
  SystemLog::write("[CentralArchive] Repository type: {}", repositoryType.value_or(""));
  SystemLog::write("[CentralArchive] Package count: {}", packages.size());
  CrawlerLogger::logInfo(fmt::format("Checking central archive: {} package(s)", packages.size()));
  if (!url) {
    return fail(completion, MissingPackages(),
                archiveError(1001, "Invalid central archive API URL."));
  }
  std::optional<std::string> body = checkRequestBody(
      repositoryURL, repositoryType.value_or(archiveTypeOf(RepositoryKind::apt)), packages);
  if (!body) {
    return fail(completion, MissingPackages(),
                encodingError("Could not encode central archive check request."));
  }
  SystemLog::write("[CentralArchive] JSON body size: {} bytes", body->size());
  CrawlerLogger::logInfo(
      fmt::format("Central archive check request prepared ({} bytes)", body->size()));
  HTTPRequest request{std::move(url),
                      {{"Content-Type", "application/json"},
                       {"X-Archive-Secret", canBeSent(apiSecret_) ? apiSecret_ : ""}},
                      std::move(body)};
  send(std::move(request), seconds(60), seconds(120),
       [completion = std::move(completion)](const std::string& answer,
                                            const std::optional<HTTPResponse>& response,
                                            std::optional<Error> error) {
         finishCheck(answer, response, std::move(error), completion);
       });
}

void CentralArchiveClient::requestUploadTokenForRepositoryURL(
    std::string_view repositoryURL, std::optional<std::string_view> repositoryType,
    std::size_t packageCount, TokenCompletion completion) {
  std::optional<URL> url = URL::parse(endpointURLStringForPath("request_upload_token.php"));
  if (!url) {
    return fail(completion, std::optional<std::string>(),
                archiveError(3001, "Invalid upload token API URL."));
  }
  std::optional<std::string> body = tokenBody(
      repositoryURL, repositoryType.value_or(archiveTypeOf(RepositoryKind::apt)), packageCount);
  if (!body) {
    return fail(completion, std::optional<std::string>(),
                encodingError("Could not encode upload token request."));
  }
  CrawlerLogger::logInfo(fmt::format("Requesting upload token for {} package(s)", packageCount));
  HTTPRequest request{std::move(url), {{"Content-Type", "application/json"}}, std::move(body)};
  send(std::move(request), seconds(60), seconds(120),
       [token = token_, completion = std::move(completion)](
           const std::string& answer, const std::optional<HTTPResponse>& response,
           std::optional<Error> error) {
         TokenResult result = tokenResultOf(answer, response, std::move(error));
         if (result.token) {
           token->set(*result.token);
           CrawlerLogger::logSuccess("Upload token received.");
         }
         completion(std::move(result.token), std::move(result.error));
       });
}

void CentralArchiveClient::send(HTTPRequest request, seconds requestTimeout,
                                seconds resourceTimeout,
                                HTTPClient::BodyCompletion completion) const {
  HTTPOptions configuration;
  configuration.timeoutIntervalForRequest = requestTimeout;
  configuration.timeoutIntervalForResource = resourceTimeout;
  configuration.maximumBodySize = kLongestAnswer;
  clientFactory_(configuration)
      ->send(std::move(request),
             [completion = std::move(completion)](std::string answer,
                                                  const std::optional<HTTPResponse>& response,
                                                  std::optional<Error> error) {
               if (!error && response) error = errorOfEarlySuccess(answer, *response);
               completion(std::move(answer), response, std::move(error));
             });
}

std::optional<std::pair<std::string, std::string>> CentralArchiveClient::uploadCredential() const {
  std::string token = uploadToken();
  auto credential = token.empty() ? std::pair("X-Archive-Secret", apiSecret_)
                                  : std::pair("X-Upload-Token", std::move(token));
  if (credential.second.empty() || !canBeSent(credential.second)) return std::nullopt;
  return credential;
}

}  // namespace tolvane
