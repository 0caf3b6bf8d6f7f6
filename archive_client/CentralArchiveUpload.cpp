// SPDX-License-Identifier: MIT
#include <chrono>
#include <new>
#include <utility>

#include "archive_client/ArchiveAnswer.h"
#include "archive_client/CentralArchiveClient.h"
#include "archive_client/CentralArchiveErrors.h"
#include "archive_client/CheckRequestBody.h"
#include "base/File.h"
#include "base/SystemLog.h"
#include "base/URL.h"
#include "base/UUID.h"
#include "model/CrawlerLogger.h"

namespace tolvane {

namespace {

using std::chrono::seconds;

constexpr std::size_t kWholePreview = std::string_view::npos;

// A multipart form that ends in a file.
struct UploadForm {
  std::string boundary = "----TolvaneBoundary-" + makeUUID();
  std::string filename;
  std::size_t fileSize = 0;
  std::string body;
};

void appendFields(const PackageEntry& package, std::string_view repositoryURL,
                  std::string_view repositoryType, UploadForm& form) {
  const std::pair<std::string_view, std::string_view> fields[] = {
      {"repository_url", repositoryURL},
      {"repository_type", repositoryType},
      {"identifier", package.packageName()},
      {"version", package.version()},
      {"name", package.displayName()},
      {"filename", form.filename},
      {"size", package.size()},
      {"original_url", originalURLOf(package)},
  };
  for (const auto& [name, value] : fields) {
    CentralArchiveClient::appendFormField(name, value, form.boundary, form.body);
  }
}

// False where the file cannot be read, or not be held in memory.
bool appendFilePart(const std::string& path, UploadForm& form) {
  const std::string end = "\r\n--" + form.boundary + "--\r\n";
  form.body.append("--").append(form.boundary).append("\r\n");
  form.body.append("Content-Disposition: form-data; name=\"package_file\"; filename=\"");
  form.body.append(form.filename).append("\"\r\n");
  form.body.append("Content-Type: application/octet-stream\r\n\r\n");
  const std::size_t begin = form.body.size();
  // Room for all of it at once, so that the file is not copied when the end is appended.
  form.body.reserve(begin + fileSize(path).value_or(0) + end.size());
  if (appendFile(path, form.body)) return false;
  form.fileSize = form.body.size() - begin;
  form.body.append(end);
  return true;
}

std::optional<UploadForm> makeForm(const PackageEntry& package, std::string_view repositoryURL,
                                   std::string_view repositoryType, const std::string& path) {
  try {
    UploadForm form;
    form.filename = lastPathComponent(path);
    if (form.filename.empty()) form.filename = "package";
    appendFields(package, repositoryURL, repositoryType, form);
    if (appendFilePart(path, form)) return form;
  } catch (const std::bad_alloc&) {
  }
  return std::nullopt;
}

void finishUpload(std::string_view body, const std::optional<HTTPResponse>& response,
                  std::optional<Error> error,
                  const CentralArchiveClient::UploadCompletion& completion) {
  SystemLog::write("[CentralArchive] Upload HTTP status: {}", statusOf(response));
  SystemLog::write("[CentralArchive] Upload response bytes: {}", body.size());
  if (error) {
    SystemLog::write("[CentralArchive] Upload request error: {}", describe(error));
    return completion(false, std::move(error));
  }
  if (body.empty()) {
    return completion(false,
                      archiveError(2003, "Central archive upload returned an empty response."));
  }
  ArchiveAnswer answer(body);
  if (!answer.isDictionary()) {
    SystemLog::write("[CentralArchive] Upload parse error: {}", describe(answer.parseError()));
    SystemLog::write("[CentralArchive] Upload response preview: {}",
                     previewOf(body, kWholePreview));
    return completion(false, answer.parseError());
  }
  if (answer.isOK()) return completion(true, std::nullopt);
  completion(false, archiveError(2004, answer.errorText("Central archive upload failed.")));
}

}  // namespace

void CentralArchiveClient::uploadPackage(const PackageEntry& package,
                                         std::string_view repositoryURL,
                                         std::optional<std::string_view> repositoryType,
                                         const std::string& localFilePath,
                                         UploadCompletion completion) const {
  std::optional<URL> url = URL::parse(endpointURLStringForPath("upload_package.php"));
  auto credential = uploadCredential();
  if (!credential) {
    Error error = archiveError(2000, "Central archive upload is not configured.");
    CrawlerLogger::logWarning(error.description);
    return completion(false, std::move(error));
  }
  if (!url) {
    return completion(false, archiveError(2001, "Invalid central archive upload URL."));
  }
  std::optional<UploadForm> form =
      makeForm(package, repositoryURL, repositoryType.value_or(archiveTypeOf(RepositoryKind::apt)),
               localFilePath);
  if (!form) {
    return completion(false, archiveError(2002, "Could not read local package file for upload."));
  }
  SystemLog::write("[CentralArchive] Uploading {} ({} bytes)", form->filename, form->fileSize);
  HTTPRequest request{
      std::move(url),
      {std::move(*credential), {"Content-Type", "multipart/form-data; boundary=" + form->boundary}},
      std::move(form->body)};
  send(std::move(request), seconds(120), seconds(600),
       [completion = std::move(completion)](const std::string& answer,
                                            const std::optional<HTTPResponse>& response,
                                            std::optional<Error> error) {
         finishUpload(answer, response, std::move(error), completion);
       });
}

void CentralArchiveClient::appendFormField(std::string_view name, std::string_view value,
                                           std::string_view boundary, std::string& body) {
  body.append("--").append(boundary).append("\r\n");
  body.append("Content-Disposition: form-data; name=\"").append(name).append("\"\r\n\r\n");
  body.append(value).append("\r\n");
}

}  // namespace tolvane
