// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace tolvane {

using Task = std::function<void()>;

// Runs the task on one of the process's background threads, soon and in no particular order.
void dispatchAsync(Task task);

// Runs the task on a background thread after the delay.
void dispatchAfter(std::chrono::milliseconds delay, Task task);

// For tests: dispatchAfter() hands its arguments to `timer` from now on instead of waiting itself;
// an empty function ends that. Any thread.
using DelayTimer = std::function<void(std::chrono::milliseconds delay, Task task)>;
void replaceDelayTimer(DelayTimer timer);

// For tasks that flush files, which wait for the disk more than they compute: like dispatchAsync(),
// on threads of their own.
void dispatchFlush(Task task);

}  // namespace tolvane
