// SPDX-License-Identifier: MIT
#include "download/Installer4Retrieval.h"

#include <algorithm>
#include <cerrno>
#include <fmt/format.h>
#include <utility>

#include "base/File.h"
#include "base/SystemLog.h"
#include "base/TemporaryFile.h"
#include "base/Text.h"

namespace tolvane {

namespace {

constexpr std::string_view kPackagesFolder = "packages/";

Error installerError(int code, std::string description) {
  return {std::string(kInstaller4ErrorDomain), code, std::move(description)};
}

// A fallback is tried where it differs from the first URL, also where there was no first URL.
bool isOtherAddress(const std::optional<URL>& fallbackURL, const std::optional<URL>& url) {
  return fallbackURL && fallbackURL != url;
}

// Where the folder "packages/", in any case of letters, begins; npos where there is none.
std::size_t findPackagesFolder(std::string_view text) {
  for (std::size_t at = 0; at + kPackagesFolder.size() <= text.size(); ++at) {
    if (equalsIgnoringASCIICase(text.substr(at, kPackagesFolder.size()), kPackagesFolder)) {
      return at;
    }
  }
  return std::string_view::npos;
}

std::string lastComponentOfURL(std::string_view text) {
  const std::optional<URL> url = URL::parse(text);
  return url ? url->lastPathComponent() : "";
}

std::string withoutExtension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return std::string(dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot));
}

std::string_view textOr(std::string_view text, std::string_view otherwise) {
  return text.empty() ? otherwise : text;
}

void fail(const Installer4Retrieval::RetrievalCompletion& completion, std::optional<Error> error) {
  completion(false, false, false, std::move(error));
}

}  // namespace

Installer4Retrieval::Installer4Retrieval(const HTTPClientFactory& clientFactory)
    : session_(clientFactory(HTTPOptions())) {}

void Installer4Retrieval::downloadInstaller4Package(const PackageEntry& package,
                                                    const std::optional<URL>& repositoryURL,
                                                    const std::string& destinationPath,
                                                    RetrievalCompletion completion) const {
  if (!observer_) return retrieve(package, repositoryURL, destinationPath, std::move(completion));
  Installer4Retrieval observed = *this;
  observed.lastRequest_ = std::make_shared<LastRequest>();
  observed.retrieve(
      package, repositoryURL, destinationPath,
      [package, observer = observer_, request = observed.lastRequest_,
       completion = std::move(completion)](bool success, bool verified, bool validationFailed,
                                           const std::optional<Error>& error) {
        observer({package, *request, success, error});
        completion(success, verified, validationFailed, error);
      });
}

void Installer4Retrieval::retrieve(const PackageEntry& package,
                                   const std::optional<URL>& repositoryURL,
                                   const std::string& destinationPath,
                                   RetrievalCompletion completion) const {
  if (package.packageInfoURL().empty()) {
    return fail(completion, installerError(kNoInfoURLError, "Missing package info URL."));
  }
  fetchInstaller4PackageInfoFromURL(
      URL::parse(package.packageInfoURL()),
      installer4FallbackInfoURLForPackage(package, repositoryURL),
      [self = *this, repositoryURL, destinationPath, completion = std::move(completion)](
          const std::optional<PropertyList::Dictionary>& info, std::optional<Error> error) {
        if (!info) return fail(completion, std::move(error));
        const PropertyList* value = info->find("location");
        const std::string* location = value ? value->text() : nullptr;
        if (!location || location->empty()) {
          return fail(completion,
                      installerError(kNoLocationError,
                                     "Installer package plist contains no location field."));
        }
        self.downloadInstaller4PackageZipFromURL(
            cleanedInstaller4URLFromString(*location),
            installer4FallbackDownloadURLForLocationString(*location, repositoryURL),
            destinationPath, completion);
      });
}

void Installer4Retrieval::fetchInstaller4PackageInfoFromURL(const std::optional<URL>& url,
                                                            const std::optional<URL>& fallbackURL,
                                                            InfoCompletion completion) const {
  fetchInstaller4PackageInfoFromURL(
      url, [self = *this, url, fallbackURL, completion = std::move(completion)](
               std::optional<PropertyList::Dictionary> info, std::optional<Error> error) {
        if (info || !isOtherAddress(fallbackURL, url)) {
          return completion(std::move(info), std::move(error));
        }
        SystemLog::write("[Installer4] Original package info failed, trying mirrored fallback: {}",
                         describe(fallbackURL));
        self.fetchInstaller4PackageInfoFromURL(
            fallbackURL,
            [firstError = std::move(error), completion](
                std::optional<PropertyList::Dictionary> mirrored, std::optional<Error> last) {
              if (!mirrored && !last) last = firstError;
              completion(std::move(mirrored), std::move(last));
            });
      });
}

void Installer4Retrieval::fetchInstaller4PackageInfoFromURL(const std::optional<URL>& url,
                                                            InfoCompletion completion) const {
  if (!url) {
    return completion(std::nullopt,
                      installerError(kInvalidInfoURLError, "Invalid Installer package info URL."));
  }
  SystemLog::write("[Installer4] Fetching package info: {}", describe(url));
  session_->send(
      uncachedRequest(url),
      [url, request = lastRequest_, completion = std::move(completion)](
          const std::string& body, const std::optional<HTTPResponse>& response,
          std::optional<Error> error) {
        if (request) *request = {url, response, ""};
        if (error) return completion(std::nullopt, std::move(error));
        const int status = statusOf(response);
        if (!isSuccess(status) || body.empty()) {
          return completion(std::nullopt,
                            installerError(status, "Could not load Installer package info plist."));
        }
        PropertyListResult result = readPropertyList(body);
        auto* dictionary =
            result.value ? std::get_if<PropertyList::Dictionary>(&result.value->value) : nullptr;
        if (!dictionary) return completion(std::nullopt, std::move(result.error));
        completion(std::move(*dictionary), std::nullopt);
      });
}

void Installer4Retrieval::downloadInstaller4PackageZipFromURL(
    const std::optional<URL>& url, const std::optional<URL>& fallbackURL,
    const std::string& destinationPath, RetrievalCompletion completion) const {
  downloadInstaller4PackageZipFromURL(
      url, destinationPath,
      [self = *this, url, fallbackURL, destinationPath, completion = std::move(completion)](
          bool success, bool verified, bool validationFailed, std::optional<Error> error) {
        if (success || !isOtherAddress(fallbackURL, url)) {
          return completion(success, verified, validationFailed, std::move(error));
        }
        SystemLog::write("[Installer4] Original package ZIP failed, trying mirrored fallback: {}",
                         describe(fallbackURL));
        self.downloadInstaller4PackageZipFromURL(fallbackURL, destinationPath, completion);
      });
}

void Installer4Retrieval::downloadInstaller4PackageZipFromURL(
    const std::optional<URL>& url, const std::string& destinationPath,
    RetrievalCompletion completion) const {
  const auto invalid = [] {
    return installerError(kInvalidZipURLError, "Invalid Installer package ZIP URL.");
  };
  if (!url) return fail(completion, invalid());
  SystemLog::write("[Installer4] Downloading package ZIP: {}", describe(url));
  const std::string name = url->lastPathComponent();
  if (!isFileName(name) || hasControlCharacter(name)) return fail(completion, invalid());
  if (isNameTooLong(joinPath(destinationPath, name))) {
    return fail(completion, posixError(ENAMETOOLONG));
  }
  session_->download(
      {url, {}}, destinationPath,
      [url, destinationPath, name, request = lastRequest_, completion = std::move(completion)](
          TemporaryFile file, const std::optional<HTTPResponse>& response,
          std::optional<Error> error) {
        if (request) *request = {url, response, ""};
        if (error) return fail(completion, std::move(error));
        const int status = statusOf(response);
        if (!isSuccess(status)) {
          return fail(completion,
                      installerError(status, "Could not download Installer package ZIP."));
        }
        createFolder(destinationPath);  // where that fails, so does the move
        const std::string localPath = joinPath(destinationPath, name);
        if (std::optional<Error> failure = file.moveTo(localPath)) {
          return fail(completion, std::move(failure));
        }
        if (request) request->localPath = localPath;
        completion(true, true, false, std::nullopt);
      });
}

std::optional<URL> Installer4Retrieval::cleanedInstaller4URLFromString(std::string_view text) {
  if (text.empty()) return std::nullopt;
  const std::size_t folder = findPackagesFolder(text);
  if (folder == std::string_view::npos || text.substr(0, folder).ends_with('/')) {
    return URL::parse(text);
  }
  return URL::parse(fmt::format("{}/{}", text.substr(0, folder), text.substr(folder)));
}

std::optional<URL> Installer4Retrieval::installer4FallbackDownloadURLForLocationString(
    std::string_view location, const std::optional<URL>& repositoryURL) {
  const std::size_t folder = findPackagesFolder(location);
  if (folder == std::string_view::npos) return std::nullopt;
  return URL::parse(baseText(repositoryURL).append(location.substr(folder)));
}

std::optional<URL> Installer4Retrieval::installer4FallbackInfoURLForPackage(
    const PackageEntry& package, const std::optional<URL>& repositoryURL) {
  const std::string name = lastComponentOfURL(package.packageInfoURL());
  if (name.empty()) return std::nullopt;
  return URL::parse(baseText(repositoryURL).append("info/").append(name));
}

std::string Installer4Retrieval::installer4BestKnownLocalFilenameForPackage(
    const PackageEntry& package) {
  const std::optional<URL> url = cleanedInstaller4URLFromString(package.downloadURL());
  if (std::string name = url ? url->lastPathComponent() : ""; !name.empty()) return name;
  if (const std::string name = lastComponentOfURL(package.packageInfoURL()); !name.empty()) {
    return withoutExtension(name) + ".zip";
  }
  return fmt::format("{}_{}.zip", textOr(package.packageName(), "installer4-package"),
                     textOr(package.version(), "unknown"));
}

}  // namespace tolvane
