// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string_view>

#include "base/NotificationCenter.h"

namespace tolvane {

// Posted for each message, with exactly two entries: "message" and "type".
inline constexpr std::string_view CrawlerLoggerDidLogMessageNotification =
    "CrawlerLoggerDidLogMessageNotification";

enum class LogType : int { info = 0, success = 1, warning = 2, error = 3 };

// The log bus: the process-wide channel on which workers report to the user. Each message is
// written to the system log and then, on the calling thread, posted as the notification above at
// NotificationCenter::defaultCenter(). An empty message does nothing. Any thread; no state.
class CrawlerLogger {
 public:
  CrawlerLogger() = delete;

  static void logInfo(std::string_view message);
  static void logSuccess(std::string_view message);
  static void logWarning(std::string_view message);
  static void logError(std::string_view message);

  // Any value that is not one of LogType counts as info.
  static void logMessage(std::string_view message, int type);

  // "info", "success", "warning" or "error".
  static std::string_view stringForLogType(int type);
};

// One posted message.
struct CrawlerMessage {
  std::string_view text;
  std::string_view typeText;  // as it was posted; "info" where none was
  LogType type;
};

// The type of that text, as stringForLogType() gives it; info for any other text.
LogType logTypeOf(std::string_view typeText);

// Calls the observer with each message that is posted, on the thread that posts it, as long as the
// token lives.
[[nodiscard]] NotificationCenter::Token observeCrawlerLog(
    std::function<void(const CrawlerMessage&)> observer);

}  // namespace tolvane
