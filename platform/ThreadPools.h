// SPDX-License-Identifier: MIT
#pragma once

#include <asio/thread_pool.hpp>

namespace tolvane {

// The process's background threads; for the .cpp files of this folder only. They start at first
// use. When the process exits, tasks and timers that have not started are dropped and those that
// run are waited for. The pools themselves are never destroyed, so a task that still runs then may
// post to either: what it posts is dropped.
asio::thread_pool& backgroundPool();
asio::thread_pool& flushPool();

}  // namespace tolvane
