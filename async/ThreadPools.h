// SPDX-License-Identifier: MIT
#pragma once

#include <asio/io_context.hpp>

namespace tolvane {

// The process's background threads; for the .cpp files of this folder only. They start at first
// use: as many as the system has, std::system_error if it has none. When the process exits, tasks
// and timers that have not started are dropped, and those that run are waited for. The pools are
// never destroyed, so a task that still runs then may post to either; such tasks are dropped.
asio::io_context& backgroundPool();
asio::io_context& flushPool();  // backgroundPool() if the system has no threads for it

}  // namespace tolvane
