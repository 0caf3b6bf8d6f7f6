// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "base/Error.h"

namespace tolvane {

// A file's name is part of its folder, and on the disk only once the folder is flushed (fsync of
// the directory). That costs as much as a file's flush, so it is done once a second for all names
// that have come by then. Any thread.

// Notes that the folder has a new name in it. It is flushed within some two seconds.
void flushFolderSoon(const std::string& folder);

// Flushes the folders that have been noted, and returns when they are on the disk. The error is the
// first one since the last call; file systems that cannot flush a folder give none.
std::optional<Error> flushFolders();

}  // namespace tolvane
