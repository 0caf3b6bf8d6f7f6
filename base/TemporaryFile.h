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
// killed; elsewhere it has a temporary name, ".tolvane-" and 16 random hexadecimal digits, which
// open() of a later process removes.
//
// Used by one thread at a time.
class TemporaryFile {
 public:
  TemporaryFile() = default;  // no file
  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile();  // a file that was not moved is removed

  // Makes an empty file in `folder`, or in its nearest existing ancestor where it does not exist:
  // on the file system of its final path, so that moveTo() never copies.
  std::optional<Error> open(const std::string& folder);

  bool isOpen() const { return descriptor_ >= 0; }

  std::optional<Error> write(const void* bytes, std::size_t count);

  // Returns when the bytes are on the disk (fdatasync).
  std::optional<Error> flush();

  // Gives the file its name, in place of a file or link of that name, and closes it; the name is on
  // the disk after flushFolders() (FolderFlush.h), or some two seconds later. A folder of that name
  // stays and makes the move fail. On failure the temporary file and what was at `path` before stay
  // as they were. A path that has the form of a temporary name is refused with EINVAL, because
  // open() of a later process would remove it.
  std::optional<Error> moveTo(const std::string& path);

  // Removes the files of this process that still have a temporary name. For a process that is about
  // to end, on any thread: while the lock is held, no file gets a temporary name.
  [[nodiscard]] static std::unique_lock<std::recursive_mutex> removeAll();

  // Removes the temporary files that killed processes have left in `folder`, at the first call for
  // it. Those of a process that still runs stay. open() does the same for its folder.
  static void removeStale(const std::string& folder);

  // For tests: whether open() may make unnamed files where the file system has them.
  static void allowUnnamedFiles(bool allowed);

 private:
  void close() noexcept;

  int descriptor_ = -1;
  std::string temporaryPath_;  // "" for an unnamed file
};

}  // namespace tolvane
