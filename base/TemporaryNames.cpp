// SPDX-License-Identifier: MIT
#include "base/TemporaryNames.h"

#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fmt/format.h>
#include <mutex>
#include <new>
#include <random>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "base/File.h"
#include "base/FileDescriptor.h"

namespace tolvane {

namespace {

constexpr std::string_view kPrefix = ".tolvane-";
constexpr std::size_t kDigitCount = 16;

// How long removeAll() waits for a thread that is making a name.
constexpr auto kLongestWait = std::chrono::seconds(2);

struct Record {
  // Also held while a name is made, so that no new one appears once removeAll() has the lock.
  std::recursive_mutex mutex;
  std::set<std::string> ownPaths;
  std::set<std::string> sweptFolders;
};

Record& record() {
  // Never destroyed: background threads may still hold files while the process exits. In static
  // memory: removeAll() runs when the process ends because it has no memory left.
  alignas(Record) static std::byte memory[sizeof(Record)];
  static auto* const record = new (memory) Record;
  return *record;
}

bool hasTemporaryForm(std::string_view name) {
  return name.size() == kPrefix.size() + kDigitCount && name.starts_with(kPrefix) &&
         name.find_first_not_of("0123456789abcdef", kPrefix.size()) == std::string_view::npos;
}

bool isRegularAndLinked(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink > 0;
}

bool tryLock(int descriptor) {
  return ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
}

// Locks a file of this process. False when another process has locked it as a stale one and is
// about to remove it. On a file system without locks, no other process can do that.
bool lockOwn(int descriptor) {
  return tryLock(descriptor) || errno != EWOULDBLOCK;
}

// Opened for writing, which some network file systems need for an exclusive lock, or for reading,
// which may be all that another user's file permits.
void removeIfUnlocked(const std::string& path) {
  const bool isWritable = ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
  const FileDescriptor file(path.c_str(),
                            (isWritable ? O_WRONLY : O_RDONLY) | O_NOFOLLOW | O_NONBLOCK);
  if (file.isOpen() && isRegularAndLinked(file.get()) && tryLock(file.get())) {
    ::unlink(path.c_str());
  }
}

// A new path, on the list. With the lock held.
std::string newPath(const std::string& folder) {
  static auto* const random = new std::random_device;
  std::uniform_int_distribution<std::uint64_t> anyNumber;
  const std::string name = fmt::format("{}{:016x}", kPrefix, anyNumber(*random));
  return *record().ownPaths.insert(joinPath(folder, name)).first;
}

}  // namespace

bool TemporaryNames::isTemporaryName(const std::string& path) {
  return hasTemporaryForm(std::filesystem::path(path).filename().native());
}

int TemporaryNames::create(const std::string& folder, std::string& path) {
  const std::lock_guard lock(record().mutex);
  for (;;) {
    const std::string candidate = newPath(folder);
    const int descriptor = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
      record().ownPaths.erase(candidate);  // leaves errno alone
      return -1;
    }
    // Between the two calls another process may have found the file without a lock.
    if (lockOwn(descriptor) && isRegularAndLinked(descriptor)) {
      path = candidate;
      return descriptor;
    }
    ::close(descriptor);
    ::unlink(candidate.c_str());
    record().ownPaths.erase(candidate);
  }
}

bool TemporaryNames::link(int descriptor, const std::string& folder, std::string& path) {
  lockOwn(descriptor);  // no other process can have found the file yet
  const std::lock_guard lock(record().mutex);
  const std::string candidate = newPath(folder);
  if (linkDescriptor(descriptor, candidate)) {
    path = candidate;
    return true;
  }
  record().ownPaths.erase(candidate);  // leaves errno alone
  return false;
}

void TemporaryNames::remove(const std::string& path) {
  ::unlink(path.c_str());
  release(path);
}

void TemporaryNames::release(const std::string& path) {
  const std::lock_guard lock(record().mutex);
  record().ownPaths.erase(path);
}

std::unique_lock<std::recursive_mutex> TemporaryNames::removeAll() {
  // The calling thread may have the lock itself when it ends the process by an exception. Another
  // thread may hang on a disk that does not answer; what it makes later, a later process removes.
  std::unique_lock lock(record().mutex, std::defer_lock);
  const auto end = std::chrono::steady_clock::now() + kLongestWait;
  while (!lock.try_lock()) {
    if (std::chrono::steady_clock::now() > end) return lock;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  for (const std::string& path : record().ownPaths) ::unlink(path.c_str());
  return lock;
}

void TemporaryNames::removeStale(const std::string& folder) {
  {
    const std::lock_guard lock(record().mutex);
    if (!record().sweptFolders.insert(folder).second) return;
  }
  std::error_code failure;
  std::filesystem::directory_iterator entry(folder, failure);
  for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
    if (hasTemporaryForm(entry->path().filename().native())) removeIfUnlocked(entry->path());
  }
}

bool linkDescriptor(int descriptor, const std::string& path) {
  const std::string source = fmt::format("/proc/self/fd/{}", descriptor);
  return ::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace tolvane
