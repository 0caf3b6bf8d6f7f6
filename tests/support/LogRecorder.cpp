// SPDX-License-Identifier: MIT
#include "tests/support/LogRecorder.h"

#include <algorithm>
#include <mutex>
#include <string_view>

#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "model/CrawlerLogger.h"

namespace tolvane {

struct LogRecorder::Record {
  struct Entry {
    Kind kind;
    std::string text;
  };

  void add(Kind kind, std::string text) {
    const std::lock_guard lock(mutex);
    entries.push_back({kind, std::move(text)});
  }

  mutable std::mutex mutex;
  std::vector<Entry> entries;
};

LogRecorder::LogRecorder() : record_(std::make_shared<Record>()) {
  messageToken_ = NotificationCenter::defaultCenter().addObserver(
      CrawlerLoggerDidLogMessageNotification, [record = record_](const UserInfo& userInfo) {
        record->add(Kind::message, userInfo.at("type") + ": " + userInfo.at("message"));
      });
  lineToken_ = SystemLog::observe([record = record_](std::string_view line) {
    const bool isRepeated = line.starts_with("[CrawlerLogger]");
    record->add(isRepeated ? Kind::repeatedLine : Kind::line, std::string(line));
  });
}

LogRecorder::~LogRecorder() = default;

std::vector<std::string> LogRecorder::reports() const {
  return textsOf({Kind::message, Kind::line});
}

std::vector<std::string> LogRecorder::messages() const {
  return textsOf({Kind::message});
}

std::vector<std::string> LogRecorder::lines() const {
  return textsOf({Kind::line});
}

std::vector<std::string> LogRecorder::allLines() const {
  return textsOf({Kind::line, Kind::repeatedLine});
}

std::vector<std::string> LogRecorder::textsOf(std::initializer_list<Kind> kinds) const {
  std::vector<std::string> texts;
  const std::lock_guard lock(record_->mutex);
  for (const Record::Entry& entry : record_->entries) {
    if (std::find(kinds.begin(), kinds.end(), entry.kind) != kinds.end()) {
      texts.push_back(entry.text);
    }
  }
  return texts;
}

}  // namespace tolvane
