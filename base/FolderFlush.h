// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"

namespace tolvane {

// A file's name is an entry of its folder, and on the disk only once the folder is flushed
// (fsync(2) of the directory). That costs as much as the flush of a file, so it is done once a
// second for all names that were added by then. Any thread.

// Schedules a flush of the folder, to which a name was added, within some two seconds.
void flushFolderSoon(const std::string& folder);

// Flushes all scheduled folders now and returns when they are on the disk. The error is the first
// one since the last call; a file system that cannot flush folders causes none.
std::optional<Error> flushFolders();

}  // namespace tolvane
