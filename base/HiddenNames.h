// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>

namespace tolvane {

// The hidden names of temporary files, ".tolvane-" and 16 random hexadecimal digits. Each process
// holds an flock(2) lock on every file of its own that has one; a name that nobody holds was left
// behind by a process that was killed. For the .cpp files of this folder only; any thread.
//
// The paths that this process has made are on record until they are removed or released.
class HiddenNames {
 public:
  // Whether the path ends in a name that could be one of them.
  static bool isOne(const std::string& path);

  // Makes an empty file of a new hidden name in the folder. A negative descriptor, and errno, where
  // that fails.
  static int create(const std::string& folder, std::string& path);

  // Gives a file without a name a hidden one. False, and errno, where that fails.
  static bool link(int descriptor, const std::string& folder, std::string& path);

  // Removes the file from its folder and its path from the record.
  static void remove(const std::string& path);

  // Strikes the path from the record: the file has another name now.
  static void release(const std::string& path);

  // Removes the files of all paths on record. No name can be made while the lock is held.
  [[nodiscard]] static std::unique_lock<std::recursive_mutex> removeAll();

  // Removes what killed processes have left in the folder, the first time that this process asks.
  static void removeStale(const std::string& folder);
};

// Gives an open file that has no name the name `path`: link(2) for descriptors. False, and errno,
// where that fails.
bool linkDescriptor(int descriptor, const std::string& path);

}  // namespace tolvane
