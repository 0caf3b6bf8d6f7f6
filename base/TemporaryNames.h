// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>

namespace tolvane {

// The names that temporary files have until they get their final ones, on file systems that have no
// unnamed files: ".tolvane-" and 16 random hexadecimal digits. A process holds an flock(2) lock on
// each of its temporary files; one without a lock was left behind by a process that was killed. For
// the .cpp files of this folder only; any thread.
//
// The process keeps a list of the paths that it has made, until they are removed or released.
namespace TemporaryNames {

// Whether the path's last component has the form of a temporary name.
bool isTemporaryName(const std::string& path);

// Creates an empty file with a new temporary name in the folder and returns its descriptor; a
// negative one, and errno, on failure.
int create(const std::string& folder, std::string& path);

// Links an unnamed file under a new temporary name. False, and errno, on failure.
bool link(int descriptor, const std::string& folder, std::string& path);

// Removes the file, and its path from the list.
void remove(const std::string& path);

// Removes the path from the list: the file has its final name now.
void release(const std::string& path);

// Removes the files of all paths on the list. No name can be made while the lock is held.
[[nodiscard]] std::unique_lock<std::recursive_mutex> removeAll();

// Removes the files that killed processes have left in the folder, at the first call for it.
void removeStale(const std::string& folder);

}  // namespace TemporaryNames

// link(2) for the descriptor of an unnamed file. False, and errno, on failure.
bool linkDescriptor(int descriptor, const std::string& path);

}  // namespace tolvane
