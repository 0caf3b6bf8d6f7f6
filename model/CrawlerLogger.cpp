// SPDX-License-Identifier: MIT
#include "model/CrawlerLogger.h"

#include <string>
#include <utility>

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

LogType logTypeOf(std::string_view typeText) {
  for (const LogType type : {LogType::success, LogType::warning, LogType::error}) {
    if (typeText == CrawlerLogger::stringForLogType(static_cast<int>(type))) return type;
  }
  return LogType::info;
}

NotificationCenter::Token observeCrawlerLog(std::function<void(const CrawlerMessage&)> observer) {
  return NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification,
      [observer = std::move(observer)](const UserInfo& userInfo) {
        const auto entryOr = [&](const char* key, std::string_view otherwise) {
          const auto found = userInfo.find(key);
          return found == userInfo.end() ? otherwise : std::string_view(found->second);
        };
        const std::string_view typeText = entryOr("type", "info");
        observer({entryOr("message", ""), typeText, logTypeOf(typeText)});
      });
}

}  // namespace tolvane
