// SPDX-License-Identifier: MIT
#pragma once

#include <fmt/format.h>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace tolvane {

// The diagnostic log of the process. Each line begins with a tag in brackets. Once switched on, the
// lines are written to standard error with a time stamp and the thread, through printable(), so
// that each is one line there. Every operation may be called on any thread.
namespace SystemLog {

// Off when the process starts.
void writeToStandardError(bool on);

// Calls the observer with each line, on the thread that writes it, until the last copy of the token
// is destroyed.
[[nodiscard]] std::shared_ptr<void> observe(std::function<void(std::string_view)> observer);

bool isEnabled();
void writeLine(std::string_view text);

// Formats nothing while the log is off and has no observers.
template <typename... Arguments>
void write(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
  if (isEnabled()) writeLine(fmt::format(format, std::forward<Arguments>(arguments)...));
}

}  // namespace SystemLog

}  // namespace tolvane
