// SPDX-License-Identifier: MIT
#include "async/Dispatch.h"

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <memory>
#include <utility>

#include "async/ThreadPools.h"

namespace tolvane {

void dispatchAsync(Task task) {
  asio::post(backgroundPool(), std::move(task));
}

void dispatchAfter(std::chrono::milliseconds delay, Task task) {
  auto timer = std::make_unique<asio::steady_timer>(backgroundPool(), delay);
  auto& pending = *timer;
  pending.async_wait([timer = std::move(timer), task = std::move(task)](const auto&) { task(); });
}

void dispatchFlush(Task task) {
  asio::post(flushPool(), std::move(task));
}

}  // namespace tolvane
