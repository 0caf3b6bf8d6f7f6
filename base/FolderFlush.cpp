// SPDX-License-Identifier: MIT
#include "base/FolderFlush.h"

#include <cerrno>
#include <chrono>
#include <mutex>
#include <set>
#include <system_error>
#include <thread>
#include <utility>

#include "base/FileDescriptor.h"

namespace tolvane {

namespace {

constexpr auto kInterval = std::chrono::seconds(1);

struct State {
  std::mutex flushing;  // a second call waits for the folders that the first one flushes
  std::mutex mutex;
  std::set<std::string> folders;  // with names that may not be on the disk yet
  bool isScheduled = false;
  std::optional<Error> error;  // the first one since the last flushFolders()
};

State& state() {
  // Never destroyed: background threads may still flush while the process exits.
  static auto* const state = new State;
  return *state;
}

// Errors that mean that names may be lost. Others mean that the file system cannot flush folders.
bool isLoss(int errorNumber) {
  return errorNumber == EIO || errorNumber == ENOSPC || errorNumber == EDQUOT;
}

// Errors that pass: the folder is flushed the next time.
bool isWorthAnotherTry(int errorNumber) {
  return errorNumber == EMFILE || errorNumber == ENFILE || errorNumber == ENOMEM;
}

void flushNoted() {
  const std::lock_guard flushing(state().flushing);
  std::set<std::string> folders;
  {
    const std::lock_guard lock(state().mutex);
    state().isScheduled = false;
    folders.swap(state().folders);
  }
  for (const std::string& path : folders) {
    const FileDescriptor folder(path.c_str(), O_RDONLY | O_DIRECTORY);
    if (folder.isOpen() && ::fsync(folder.get()) == 0) continue;
    const int failure = errno;
    const std::lock_guard lock(state().mutex);
    if (!folder.isOpen() && isWorthAnotherTry(failure)) state().folders.insert(path);
    if (isLoss(failure) && !state().error) state().error = posixError(failure);
  }
}

}  // namespace

void flushFolderSoon(const std::string& folder) {
  const std::lock_guard lock(state().mutex);
  state().folders.insert(folder);
  if (state().isScheduled) return;
  try {
    // At most one thread a second, for which the end of the process does not wait.
    std::thread([] {
      std::this_thread::sleep_for(kInterval);
      flushNoted();
    }).detach();
    state().isScheduled = true;
  } catch (const std::system_error&) {
    // The system has no more threads: the next call tries again, or flushFolders() flushes.
  }
}

std::optional<Error> flushFolders() {
  flushNoted();
  const std::lock_guard lock(state().mutex);
  return std::exchange(state().error, std::nullopt);
}

}  // namespace tolvane
