// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace tolvane {

// Posted for each message, with exactly two entries: "message" and "type".
inline constexpr std::string_view CrawlerLoggerDidLogMessageNotification =
    "CrawlerLoggerDidLogMessageNotification";

enum class LogType : int { info = 0, success = 1, warning = 2, error = 3 };

// The process-wide channel on which workers report to the user. Each message goes to the system
// log and, on the calling thread, to the observers of the notification above at
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

}  // namespace tolvane
