// SPDX-License-Identifier: MIT
#include "async/Dispatch.h"

#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <memory>
#include <mutex>
#include <utility>

#include "async/ThreadPools.h"

namespace tolvane {

namespace {

struct Replacement {
  std::mutex mutex;
  DelayTimer timer;
};

Replacement& replacement() {
  // Never destroyed: background threads may still ask for it while the process exits.
  static auto* const replacement = new Replacement;
  return *replacement;
}

DelayTimer replacingTimer() {
  const std::lock_guard lock(replacement().mutex);
  return replacement().timer;
}

}  // namespace

void dispatchAsync(Task task) {
  asio::post(backgroundPool(), std::move(task));
}

void dispatchAfter(std::chrono::milliseconds delay, Task task) {
  if (const DelayTimer timer = replacingTimer()) return timer(delay, std::move(task));
  auto timer = std::make_unique<asio::steady_timer>(backgroundPool(), delay);
  auto& pending = *timer;
  pending.async_wait([timer = std::move(timer), task = std::move(task)](const auto&) { task(); });
}

void replaceDelayTimer(DelayTimer timer) {
  const std::lock_guard lock(replacement().mutex);
  replacement().timer.swap(timer);
}

void dispatchFlush(Task task) {
  asio::post(flushPool(), std::move(task));
}

}  // namespace tolvane
