// SPDX-License-Identifier: MIT
#include "cli/LoadFailures.h"

#include <fmt/format.h>
#include <regex>

namespace tolvane {

namespace {

// libcurl's message has the time that it waited, which would make each failure a different reason.
std::string withoutDuration(const std::string& detail) {
  static const std::regex kDuration(" after [0-9]+ (ms|milliseconds)\\b");
  return std::regex_replace(detail, kDuration, "");
}

std::string reasonOf(const IndexAnswer& answer) {
  if (answer.error) {
    return answer.error->detail.empty() ? answer.error->description
                                        : withoutDuration(answer.error->detail);
  }
  const int status = statusOf(answer.response);
  return isSuccess(status) ? "" : fmt::format("HTTP status {}", status);
}

}  // namespace

void LoadFailures::add(const IndexAnswer& answer) {
  std::string reason = reasonOf(answer);
  if (reason.empty()) return;
  const std::lock_guard lock(mutex_);
  if (++counts_[reason] == 1) reasons_.push_back(std::move(reason));
}

std::vector<std::string> LoadFailures::lines() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> lines;
  for (const std::string& reason : reasons_) {
    const std::size_t count = counts_.at(reason);
    lines.push_back(fmt::format("{} ({} {})", reason, count, count == 1 ? "request" : "requests"));
  }
  return lines;
}

}  // namespace tolvane
