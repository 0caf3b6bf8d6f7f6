// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>

#include "base/Error.h"

namespace tolvane {

// A file that has no visible name until it is whole. Where the file system has unnamed files
// (O_TMPFILE of open(2)) it has no name at all, so nothing is left of it when the process is
// killed; elsewhere it has a hidden name, ".tolvane-" and random digits, which open() of a
// later process removes.
//
// Used by one thread at a time.
class TemporaryFile {
 public:
  TemporaryFile() = default;  // no file
  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile();  // a file that was not moved is gone

  // Makes an empty file in `folder`, or in its nearest existing ancestor where it does not exist,
  // so that the move never has to copy.
  std::optional<Error> open(const std::string& folder);

  bool isOpen() const { return descriptor_ >= 0; }

  std::optional<Error> write(const void* bytes, std::size_t count);

  // Returns when the bytes are on the disk (fdatasync).
  std::optional<Error> flush();

  // Gives the file its name, in place of a file or link of that name, and closes it; the name is on
  // the disk after flushFolders() (FolderFlush.h), or some two seconds later. A folder of
  // that name stays and makes the move fail. On failure the temporary file stays as it was, and
  // so does what stood at `path`. A hidden name is no name for a file that is to stay, and is
  // refused with EINVAL: open() of a later process would remove it.
  std::optional<Error> moveTo(const std::string& path);

  // Removes the hidden names that this process has made and not yet moved or removed. For a
  // process that ends at once, on any thread: while the lock is held, no file gets a hidden name.
  [[nodiscard]] static std::unique_lock<std::recursive_mutex> removeAll();

  // Removes the hidden names in `folder` that killed processes have left, once a process. Names
  // that a living process holds stay. open() does the same for its folder.
  static void removeStale(const std::string& folder);

  // For tests: whether open() may make unnamed files where the file system has them.
  static void allowUnnamedFiles(bool allowed);

 private:
  void close() noexcept;

  int descriptor_ = -1;
  std::string hiddenPath_;  // "" for an unnamed file
};

}  // namespace tolvane
