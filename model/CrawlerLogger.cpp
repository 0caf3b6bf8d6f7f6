// SPDX-License-Identifier: MIT
#include "model/CrawlerLogger.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "base/SystemLog.h"

namespace tolvane {

namespace {

// By the number of their LogType.
constexpr std::array<std::string_view, 4> kTypeTexts{"info", "success", "warning", "error"};

}  // namespace

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
  return type > 0 && type < static_cast<int>(kTypeTexts.size()) ? kTypeTexts[type] : kTypeTexts[0];
}

LogType logTypeOf(std::string_view typeText) {
  const auto* const found = std::find(kTypeTexts.begin(), kTypeTexts.end(), typeText);
  return found == kTypeTexts.end() ? LogType::info : LogType(found - kTypeTexts.begin());
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
