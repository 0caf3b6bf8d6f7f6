// SPDX-License-Identifier: MIT
#include "cli/FailureReport.h"

#include <algorithm>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/LineLimit.h"
#include "download/DownloadManager.h"

namespace tolvane {

namespace {

constexpr const char* kUnknownError = "Unknown error";

bool isValidationFailure(const Error& error) {
  return error.domain == kDownloadManagerErrorDomain &&
         (error.code == kSizeMismatchError || error.code == kMD5MismatchError ||
          error.code == kSHA256MismatchError);
}

}  // namespace

void FailureReport::add(const PackageOutcome& outcome) {
  if (outcome.success) return;
  Error error = outcome.error.value_or(Error());
  error.description = descriptionOr(outcome.error, kUnknownError);
  const bool invalid = isValidationFailure(error);
  const std::lock_guard lock(mutex_);
  failures_.push_back({outcome.package, displayText(outcome.request.url), std::move(error),
                       statusOf(outcome.request.response), invalid});
}

std::string FailureReport::Failure::line() const {
  return fmt::format("{}: {} {}{}{}: {}", invalid ? "Invalid" : "Failed", package.packageName(),
                     package.version(), url.empty() ? "" : ", ", url, error.description);
}

void FailureReport::show(Console& console, const std::string& folder) const {
  const std::lock_guard lock(mutex_);
  showAtMost20(
      failures_.size(), [this](std::size_t i) { return failures_[i].line(); },
      [&console](const std::string& line) { console.appendPlain(line); });
  const auto isInvalid = [](const Failure& failure) { return failure.invalid; };
  if (std::ranges::any_of(failures_, isInvalid)) {
    console.appendPlain(
        fmt::format("Invalid files stay in {} and count as present at the next run.", folder));
  }
}

nlohmann::ordered_json FailureReport::json() const {
  const std::lock_guard lock(mutex_);
  auto list = nlohmann::ordered_json::array();
  for (const Failure& failure : failures_) {
    list.push_back({{"package", failure.package.packageName()},
                    {"version", failure.package.version()},
                    {"filename", withoutPasswords(failure.package.filename())},
                    {"url", failure.url},
                    {"reason", failure.error.description},
                    {"domain", failure.error.domain},
                    {"code", failure.error.code},
                    {"status", failure.status}});
  }
  return list;
}

}  // namespace tolvane
