// SPDX-License-Identifier: MIT
#include "platform/SystemLog.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <vector>

namespace tolvane::SystemLog {

namespace {

struct Observer {
  std::function<void(std::string_view)> callback;
};

struct State {
  State() { logger.set_pattern("%Y-%m-%d %H:%M:%S.%e [%t] %v"); }

  std::atomic<bool> writesToStandardError = false;
  std::atomic<int> observerCount = 0;
  spdlog::logger logger{"tolvane", std::make_shared<spdlog::sinks::stderr_sink_mt>()};

  std::mutex mutex;
  std::vector<std::weak_ptr<const Observer>> observers;
};

State& state() {
  // Never destroyed: background threads may write while the process exits.
  static auto* const state = new State;
  return *state;
}

// A message stays one line, and texts from outside cannot steer the terminal.
std::string onOneLine(std::string_view text) {
  std::string line(text);
  std::ranges::replace_if(
      line, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, ' ');
  return line;
}

std::vector<std::weak_ptr<const Observer>> currentObservers() {
  const std::lock_guard lock(state().mutex);
  return state().observers;
}

}  // namespace

void writeToStandardError(bool on) {
  state().writesToStandardError = on;
}

std::shared_ptr<void> observe(std::function<void(std::string_view)> callback) {
  const std::shared_ptr<Observer> observer(new Observer{std::move(callback)}, [](Observer* gone) {
    delete gone;
    --state().observerCount;
  });
  ++state().observerCount;
  const std::lock_guard lock(state().mutex);
  std::erase_if(state().observers, [](const auto& other) { return other.expired(); });
  state().observers.push_back(observer);
  return observer;
}

bool isEnabled() {
  return state().writesToStandardError || state().observerCount > 0;
}

void writeLine(std::string_view text) {
  if (state().writesToStandardError) state().logger.info(onOneLine(text));
  if (state().observerCount == 0) return;
  for (const auto& weakObserver : currentObservers()) {
    if (const auto observer = weakObserver.lock()) observer->callback(text);
  }
}

}  // namespace tolvane::SystemLog
