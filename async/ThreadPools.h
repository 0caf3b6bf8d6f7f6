// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>

namespace tolvane {

// The process's background threads; for the .cpp files of this folder only. They start at first
// use, fewer of them where the system has no more; std::system_error where it has not even one.
// When the process exits, tasks and timers that have not started are dropped and those that
// run are waited for. The pools themselves are never destroyed, so a task that still runs then may
// post to either: what it posts is dropped.
asio::io_context& backgroundPool();
asio::io_context& flushPool();  // the one above where the system has no threads for it

}  // namespace tolvane
