// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace tolvane {

using Task = std::function<void()>;

// Runs the task on one of the process's background threads, soon and in no particular order.
void dispatchAsync(Task task);

// Runs the task on a background thread after the delay, from one timer that all share.
void dispatchAfter(std::chrono::milliseconds delay, Task task);

// Bytes on their way to the disk: like dispatchAsync, on threads of their own, since these tasks
// wait more than they work.
void dispatchFlush(Task task);

}  // namespace tolvane
