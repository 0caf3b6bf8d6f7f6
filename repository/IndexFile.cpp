// SPDX-License-Identifier: MIT
#include "repository/IndexFile.h"

#include <cerrno>
#include <fmt/format.h>
#include <utility>

#include "base/File.h"
#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"
#include "repository/Installer3RepositoryFetcher.h"
#include "repository/Installer4RepositoryFetcher.h"
#include "repository/PackagesIndex.h"

namespace tolvane {

namespace {

Error indexError(int code, std::string description) {
  return {std::string(kIndexFileErrorDomain), code, std::move(description)};
}

Error noPackages() {
  return indexError(kIndexWithoutPackagesError, "The index file contains no packages.");
}

IndexFileResult failure(Error error) {
  CrawlerLogger::logError(error.description);
  return {{}, std::move(error)};
}

IndexFileResult outOfMemory(const std::string& path) {
  SystemLog::write("[Crawler] Not enough memory for package index: {}", path);
  return failure(posixError(ENOMEM));
}

std::optional<Error> readBytes(const std::string& path, std::string& bytes) {
  if (fileSize(path).value_or(0) > kMaximumIndexSize) return posixError(EFBIG);
  return appendFile(path, bytes);
}

// An Installer 4 index. `problem`, where given, replaces the reader's own.
IndexFileResult readInstaller4File(const std::string& bytes, const std::string& path,
                                   std::optional<Error> problem = {}) {
  auto reading = Installer4RepositoryFetcher::readIndex(bytes, path);
  if (reading.outOfMemory) return outOfMemory(path);
  if (reading.packages.empty()) {
    return failure(problem ? std::move(*problem)
                           : indexError(kIndexNotReadableError, std::move(reading.problem)));
  }
  CrawlerLogger::logSuccess(fmt::format("Parsed {} package(s)", reading.packages.size()));
  return {std::move(reading.packages), std::nullopt};
}

IndexFileResult readInstaller3File(const std::string& bytes, const std::string& path) {
  auto reading = Installer3RepositoryFetcher::readList(bytes);
  if (reading.outOfMemory) return outOfMemory(path);
  if (reading.error) return {{}, std::move(reading.error)};  // reported
  if (!reading.packages) {
    return {{},
            indexError(kIndexNotReadableError,
                       "Installer 3 repository could not be parsed as a plist.")};
  }
  if (reading.packages->empty()) return failure(noPackages());
  return {std::move(*reading.packages), std::nullopt};
}

IndexFileResult readPackagesFile(std::string bytes, const std::string& path, bool detects) {
  PackagesIndex index = readPackagesIndex(std::move(bytes), path);
  if (index.outOfMemory) return outOfMemory(path);
  if (!index.packages) {
    return failure(indexError(kIndexNotReadableError, "The index file could not be decoded."));
  }
  if (!index.packages->empty()) return {std::move(*index.packages), std::nullopt};
  if (!detects) return failure(noPackages());
  bytes.clear();  // read again, since keeping a copy would double the memory
  if (std::optional<Error> error = readBytes(path, bytes)) return failure(std::move(*error));
  return readInstaller4File(bytes, path, noPackages());
}

}  // namespace

IndexFileResult readIndexFile(const std::string& path, RepositoryKind kind) {
  CrawlerLogger::logInfo(fmt::format("Reading index file: {}", path));
  std::string bytes;
  if (std::optional<Error> error = readBytes(path, bytes)) {
    return error->code == ENOMEM ? outOfMemory(path) : failure(std::move(*error));
  }
  if (kind == RepositoryKind::installer3) return readInstaller3File(bytes, path);
  if (kind == RepositoryKind::installer4) return readInstaller4File(bytes, path);
  return readPackagesFile(std::move(bytes), path, kind == RepositoryKind::automatic);
}

}  // namespace tolvane
