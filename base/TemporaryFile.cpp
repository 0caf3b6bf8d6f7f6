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
#include "base/HiddenNames.h"

namespace tolvane {

namespace {

std::atomic<bool> unnamedFilesAllowed = true;

// What open(2) says of O_TMPFILE where file system or kernel do not know it.
bool saysNoUnnamedFiles(int errorNumber) {
  return errorNumber == EOPNOTSUPP || errorNumber == EISDIR || errorNumber == EINVAL;
}

// Naming an unnamed file later takes /proc.
bool mayMakeUnnamedFiles() {
  static const bool hasProc = ::access("/proc/self/fd", F_OK) == 0;
  return hasProc && unnamedFilesAllowed;
}

// The path itself, not what a link there leads to.
bool isFolderItself(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)),
      hiddenPath_(std::exchange(other.hiddenPath_, {})) {}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    hiddenPath_ = std::exchange(other.hiddenPath_, {});
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
  HiddenNames::removeStale(existing);
  if (mayMakeUnnamedFiles()) {
    descriptor_ = ::open(existing.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    if (isOpen()) return std::nullopt;
    if (!saysNoUnnamedFiles(errno)) return posixError(errno);
  }
  descriptor_ = HiddenNames::create(existing, hiddenPath_);
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
  if (path.empty() || path.find('\0') != std::string::npos || HiddenNames::isOne(path)) {
    return posixError(EINVAL);
  }
  if (hiddenPath_.empty()) {
    if (linkDescriptor(descriptor_, path)) {
      close();
      flushFolderSoon(folderOf(path));
      return std::nullopt;
    }
    if (errno != EEXIST) return posixError(errno);
    // A file can leave the unnamed state only once, so what is bound to fail is told before.
    if (isFolderItself(path)) return posixError(EISDIR);
    if (!HiddenNames::link(descriptor_, folderOf(path), hiddenPath_)) return posixError(errno);
  }
  if (::rename(hiddenPath_.c_str(), path.c_str()) != 0) return posixError(errno);
  HiddenNames::release(std::exchange(hiddenPath_, {}));
  close();
  flushFolderSoon(folderOf(path));
  return std::nullopt;
}

std::unique_lock<std::recursive_mutex> TemporaryFile::removeAll() {
  return HiddenNames::removeAll();
}

void TemporaryFile::removeStale(const std::string& folder) {
  HiddenNames::removeStale(folder);
}

void TemporaryFile::allowUnnamedFiles(bool allowed) {
  unnamedFilesAllowed = allowed;
}

void TemporaryFile::close() noexcept {
  if (!hiddenPath_.empty()) HiddenNames::remove(std::exchange(hiddenPath_, {}));
  if (isOpen()) ::close(std::exchange(descriptor_, -1));
}

}  // namespace tolvane
