// SPDX-License-Identifier: MIT
#include "cli/DestinationGate.h"

#include <algorithm>
#include <array>
#include <cerrno>

namespace tolvane {

namespace {

bool isOfTheFolder(const Error& error) {
  constexpr std::array kCodes{ENOSPC, EDQUOT, EROFS, EACCES, EPERM};
  return error.domain == kPOSIXErrorDomain && std::ranges::find(kCodes, error.code) != kCodes.end();
}

}  // namespace

std::optional<std::string> DestinationGate::closeFor(const PackageOutcome& outcome) {
  if (outcome.success || !outcome.request.localPath.empty()) return std::nullopt;
  if (!outcome.error || !isOfTheFolder(*outcome.error)) return std::nullopt;
  const std::lock_guard lock(mutex_);
  if (refusal_) return std::nullopt;
  refusal_ = outcome.error;
  refusal_->description = "not tried: " + outcome.error->description;
  return outcome.error->description;
}

std::optional<Error> DestinationGate::refusal() const {
  const std::lock_guard lock(mutex_);
  return refusal_;
}

}  // namespace tolvane
