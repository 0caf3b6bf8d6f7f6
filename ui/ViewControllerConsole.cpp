// SPDX-License-Identifier: MIT
#include <QTimer>
#include <chrono>
#include <ctime>
#include <fmt/chrono.h>
#include <utility>

#include "ui/ViewController.h"

// The console and the progress bar.
namespace tolvane {

namespace {

constexpr int kErrorsOnlyItem = 1;
constexpr std::string_view kErrorType = "error";

constexpr TextLine kNoMessages{"No console messages.", "info", true};

}  // namespace

std::function<void(const CrawlerMessage&)> ViewController::crawlerLoggerDidLogMessage() {
  auto append =
      lifetime_.guardOn(mainQueue_, [this](const std::string& text, const std::string& type) {
        appendConsoleMessage(text, type);
      });
  return [append = std::move(append)](const CrawlerMessage& message) {
    append(std::string(message.text), std::string(message.typeText));
  };
}

void ViewController::appendConsoleMessage(std::optional<std::string_view> text,
                                          std::optional<std::string_view> type) {
  if (!text) return;
  const std::string line =
      fmt::format("[{:%H:%M:%S}] {}", fmt::localtime(std::time(nullptr)), *text);
  consoleMessages_.push_back({line, std::string(type.value_or("info"))});
  const ConsoleMessage& message = consoleMessages_.back();
  appendLines(consoleLines_, message.message, message.type);
  if (message.type == kErrorType) appendLines(consoleErrorLines_, message.message, message.type);
  refreshConsoleView();
}

void ViewController::refreshConsoleView() {
  const bool errorsOnly = controls_.consoleFilterPopup->currentIndex() == kErrorsOnlyItem;
  // The text is by definition a view over all records that are shown, so it is made anew for each
  // message. A record never changes: its lines went to both lists, or to one, when it came.
  LongText text = LongText::ofLines(errorsOnly ? consoleErrorLines_ : consoleLines_);
  if (text.isEmpty()) text = LongText::notice(kNoMessages);
  controls_.consoleTextView->setText(text);
  controls_.consoleTextView->scrollToEnd();
}

void ViewController::showIndeterminateProgress() {
  controls_.progressIndicator->showIndeterminate();
}

void ViewController::showDeterminateProgressWithCompleted(std::uint64_t completed,
                                                          std::uint64_t total) {
  const double part = total == 0 ? 0 : static_cast<double>(completed) / static_cast<double>(total);
  controls_.progressIndicator->showValue(part * 100);
}

// Failures are told in words; the bar only says that the run is over.
void ViewController::showCompletedProgressSuccess(bool /*success*/) {
  controls_.progressIndicator->showValue(controls_.progressIndicator->maxValue());
}

void ViewController::hideProgressIndicator() {
  controls_.progressIndicator->hideAndReset();
}

void ViewController::hideProgressIndicatorAfterDelay(double seconds) {
  const auto delay =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
  // By default a timer of two seconds or more may fire a twentieth too early.
  QTimer::singleShot(delay, Qt::PreciseTimer, this, &ViewController::hideProgressIndicator);
}

}  // namespace tolvane
