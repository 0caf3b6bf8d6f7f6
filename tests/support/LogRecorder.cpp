// SPDX-License-Identifier: MIT
#include "tests/support/LogRecorder.h"

#include <mutex>
#include <string_view>

#include "model/CrawlerLogger.h"
#include "platform/NotificationCenter.h"
#include "platform/SystemLog.h"

namespace tolvane {

struct LogRecorder::Record {
  mutable std::mutex mutex;
  std::vector<std::string> messages;
  std::vector<std::string> lines;
};

LogRecorder::LogRecorder() : record_(std::make_shared<Record>()) {
  messageToken_ = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [record = record_](const UserInfo& userInfo) {
        const std::lock_guard lock(record->mutex);
        record->messages.push_back(userInfo.at("type") + ": " + userInfo.at("message"));
      });
  lineToken_ = SystemLog::observe([record = record_](std::string_view line) {
    const std::lock_guard lock(record->mutex);
    record->lines.emplace_back(line);
  });
}

LogRecorder::~LogRecorder() = default;

std::vector<std::string> LogRecorder::messages() const {
  const std::lock_guard lock(record_->mutex);
  return record_->messages;
}

std::vector<std::string> LogRecorder::lines() const {
  std::vector<std::string> lines = allLines();
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("[CrawlerLogger]"); });
  return lines;
}

std::vector<std::string> LogRecorder::allLines() const {
  const std::lock_guard lock(record_->mutex);
  return record_->lines;
}

}  // namespace tolvane
