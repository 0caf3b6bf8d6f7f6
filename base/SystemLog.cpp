// SPDX-License-Identifier: MIT
#include "base/SystemLog.h"

#include <atomic>
#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include "base/ObserverList.h"
#include "base/TerminalText.h"

namespace tolvane::SystemLog {

namespace {

struct State {
  State() { logger.set_pattern("%Y-%m-%d %H:%M:%S.%e [%t] %v"); }

  std::atomic<bool> writesToStandardError = false;
  spdlog::logger logger{"tolvane", std::make_shared<spdlog::sinks::stderr_sink_mt>()};
  ObserverList<std::string_view> observers;
};

State& state() {
  // Never destroyed: background threads may write while the process exits.
  static auto* const state = new State;
  return *state;
}

}  // namespace

void writeToStandardError(bool on) {
  state().writesToStandardError = on;
}

std::shared_ptr<void> observe(std::function<void(std::string_view)> observer) {
  return state().observers.add(std::move(observer));
}

bool isEnabled() {
  return state().writesToStandardError || !state().observers.isEmpty();
}

void writeLine(std::string_view text) {
  if (state().writesToStandardError) state().logger.info(printable(text));
  state().observers.call(text);
}

}  // namespace tolvane::SystemLog
