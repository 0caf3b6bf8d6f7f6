// SPDX-License-Identifier: MIT
#include "cli/Console.h"

#include <ctime>
#include <fmt/chrono.h>
#include <utility>

#include "base/TerminalText.h"

namespace tolvane {

namespace {

// Control sequences of ECMA-48.
constexpr std::string_view kRed = "\033[31m";
constexpr std::string_view kGreen = "\033[32m";
constexpr std::string_view kYellow = "\033[33m";
constexpr std::string_view kFaint = "\033[2m";
constexpr std::string_view kPlain = "\033[0m";
constexpr std::string_view kEraseLine = "\r\033[K";

std::string_view colorOf(LogType type) {
  if (type == LogType::error) return kRed;
  if (type == LogType::success) return kGreen;
  if (type == LogType::warning) return kYellow;
  return kFaint;
}

}  // namespace

Console::Console(std::ostream& stream, ConsoleSettings settings)
    : stream_(stream), settings_(settings) {}

Console::~Console() {
  clearStatus();
}

void Console::append(std::string_view message, std::string_view typeText) {
  const LogType type = logTypeOf(typeText);
  if (settings_.warningsOnly && type != LogType::warning && type != LogType::error) return;
  const std::string text = printable(message);
  const std::lock_guard lock(mutex_);
  const std::string line =
      fmt::format("[{:%H:%M:%S}] {}", fmt::localtime(std::time(nullptr)), text);
  write(settings_.color ? fmt::format("{}{}{}\n", colorOf(type), line, kPlain) : line + '\n');
}

void Console::appendLogged(const CrawlerMessage& message) {
  {
    const std::lock_guard lock(mutex_);
    if (!leftOut_.empty() && message.text.ends_with(leftOut_)) return;
  }
  append(message.text, message.typeText);
}

void Console::leaveOut(std::string ending) {
  const std::lock_guard lock(mutex_);
  leftOut_ = std::move(ending);
}

void Console::appendPlain(std::string_view line) {
  const std::lock_guard lock(mutex_);
  write(printable(line) + '\n');
}

void Console::showStatus(std::string_view text) {
  if (!settings_.statusLine) return;
  const std::lock_guard lock(mutex_);
  // The last cell stays free: some terminals break the line as soon as it is filled.
  status_ = text.substr(0, settings_.columns - 1);
  write("");
}

void Console::clearStatus() {
  const std::lock_guard lock(mutex_);
  if (status_.empty()) return;
  status_.clear();
  write("");
}

// One call of the stream for all that changes, so that lines of other writers do not come between.
void Console::write(const std::string& lines) {
  if (settings_.statusLine) {
    stream_ << std::string(kEraseLine) + lines + status_;
  } else {
    stream_ << lines;
  }
  stream_.flush();
}

NotificationCenter::Token showLogBus(std::shared_ptr<Console> console) {
  return observeCrawlerLog([console = std::move(console)](const CrawlerMessage& message) {
    console->appendLogged(message);
  });
}

}  // namespace tolvane
