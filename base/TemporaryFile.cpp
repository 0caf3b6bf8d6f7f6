// SPDX-License-Identifier: MIT
#include "base/TemporaryFile.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/File.h"
#include "base/FolderFlush.h"
#include "base/TemporaryNames.h"

namespace tolvane {

namespace {

std::atomic<bool> unnamedFilesAllowed = true;

// The errors of open(2) where file system or kernel do not support O_TMPFILE.
bool lacksUnnamedFiles(int errorNumber) {
  return errorNumber == EOPNOTSUPP || errorNumber == EISDIR || errorNumber == EINVAL;
}

// linkDescriptor() needs /proc.
bool mayMakeUnnamedFiles() {
  static const bool hasProc = ::access("/proc/self/fd", F_OK) == 0;
  return hasProc && unnamedFilesAllowed;
}

// Links are not followed.
bool isFolderItself(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      temporaryPath_(std::exchange(other.temporaryPath_, {})) {}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    temporaryPath_ = std::exchange(other.temporaryPath_, {});
  }
  return *this;
}

TemporaryFile::~TemporaryFile() {
  close();
}

std::optional<Error> TemporaryFile::open(const std::string& folder) {
  close();
  if (folder.empty() || folder.find('\0') != std::string::npos) return posixError(EINVAL);
  const std::string existing = nearestExistingFolder(folder);
  TemporaryNames::removeStale(existing);
  if (mayMakeUnnamedFiles()) {
    descriptor_ = ::open(existing.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (isOpen()) return std::nullopt;
    if (!lacksUnnamedFiles(errno)) return posixError(errno);
  }
  descriptor_ = TemporaryNames::create(existing, temporaryPath_);
  if (!isOpen()) return posixError(errno);
  return std::nullopt;
}

std::optional<Error> TemporaryFile::write(const void* bytes, std::size_t count) {
  const auto* rest = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t written = ::write(descriptor_, rest, count);
    if (written >= 0) {
      rest += written;
      count -= static_cast<std::size_t>(written);
    } else if (errno != EINTR) {
      return posixError(errno);
    }
  }
  return std::nullopt;
}

std::optional<Error> TemporaryFile::flush() {
  while (::fdatasync(descriptor_) != 0) {
    if (errno != EINTR) return posixError(errno);
  }
  return std::nullopt;
}

std::optional<Error> TemporaryFile::moveTo(const std::string& path) {
  if (path.empty() || path.find('\0') != std::string::npos ||
      TemporaryNames::isTemporaryName(path)) {
    return posixError(EINVAL);
  }
  if (temporaryPath_.empty()) {
    if (linkDescriptor(descriptor_, path)) {
      close();
      flushFolderSoon(folderOf(path));
      return std::nullopt;
    }
    if (errno != EEXIST) return posixError(errno);
    // Once it has a name, a file cannot become unnamed again, so this failure is found before.
    if (isFolderItself(path)) return posixError(EISDIR);
    if (!TemporaryNames::link(descriptor_, folderOf(path), temporaryPath_))
      return posixError(errno);
  }
  if (::rename(temporaryPath_.c_str(), path.c_str()) != 0) return posixError(errno);
  TemporaryNames::release(std::exchange(temporaryPath_, {}));
  close();
  flushFolderSoon(folderOf(path));
  return std::nullopt;
}

std::unique_lock<std::recursive_mutex> TemporaryFile::removeAll() {
  return TemporaryNames::removeAll();
}

void TemporaryFile::removeStale(const std::string& folder) {
  TemporaryNames::removeStale(folder);
}

void TemporaryFile::allowUnnamedFiles(bool allowed) {
  unnamedFilesAllowed = allowed;
}

void TemporaryFile::close() noexcept {
  if (!temporaryPath_.empty()) TemporaryNames::remove(std::exchange(temporaryPath_, {}));
  if (isOpen()) ::close(std::exchange(descriptor_, -1));
}

}  // namespace tolvane
