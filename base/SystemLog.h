// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace tolvane {

// Diagnostic lines of the process, each beginning with a tag in brackets. They go to standard
// error with a time stamp and the thread, printable() and so one line each, once that has been
// switched on. Every operation may be
// called on any thread.
namespace SystemLog {

// Off when the process starts.
void writeToStandardError(bool on);

// Hands every line's text to `observer` as well, on the thread that writes it, until the last copy
// of the token goes.
[[nodiscard]] std::shared_ptr<void> observe(std::function<void(std::string_view)> observer);

bool isEnabled();
void writeLine(std::string_view text);

// Nothing is formatted while nobody listens.
template <typename... Arguments>
void write(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  if (isEnabled()) writeLine(fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace SystemLog

}  // namespace tolvane
