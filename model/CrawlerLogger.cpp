// SPDX-License-Identifier: MIT
#include "model/CrawlerLogger.h"

#include <string>

#include "base/NotificationCenter.h"
#include "base/SystemLog.h"

namespace tolvane {

void CrawlerLogger::logInfo(std::string_view message) {
  logMessage(message, static_cast<int>(LogType::info));
}

void CrawlerLogger::logSuccess(std::string_view message) {
  logMessage(message, static_cast<int>(LogType::success));
}

void CrawlerLogger::logWarning(std::string_view message) {
  logMessage(message, static_cast<int>(LogType::warning));
}

void CrawlerLogger::logError(std::string_view message) {
  logMessage(message, static_cast<int>(LogType::error));
}

void CrawlerLogger::logMessage(std::string_view message, int type) {
  if (message.empty()) return;
  const std::string_view typeText = stringForLogType(type);
  SystemLog::write("[CrawlerLogger][{}] {}", typeText, message);
  NotificationCenter::defaultCenter().post(
      CrawlerLoggerDidLogMessageNotification,
      {{"message", std::string(message)}, {"type", std::string(typeText)}});
}

std::string_view CrawlerLogger::stringForLogType(int type) {
  switch (static_cast<LogType>(type)) {
    case LogType::success:
      return "success";
    case LogType::warning:
      return "warning";
    case LogType::error:
      return "error";
    case LogType::info:
      break;
  }
  return "info";
}

}  // namespace tolvane
