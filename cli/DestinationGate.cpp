// SPDX-License-Identifier: MIT
#include "cli/DestinationGate.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>
#include <vector>

#include "base/File.h"
#include "base/TemporaryFile.h"

namespace tolvane {

namespace {

constexpr std::size_t kTrialSize = std::size_t{1} << 20;

bool isOfTheFolder(const Error& error) {
  constexpr std::array kCodes{ENOSPC, EDQUOT, EROFS, EACCES, EPERM};
  return error.domain == kPOSIXErrorDomain && std::ranges::find(kCodes, error.code) != kCodes.end();
}

// The folder was removed or replaced by a file before a file was moved into it.
bool hasVanished(const PackageOutcome& outcome, const std::string& folder) {
  const Error& error = *outcome.error;
  return outcome.request.url && error.domain == kPOSIXErrorDomain &&
         (error.code == ENOENT || error.code == ENOTDIR) && nearestExistingFolder(folder) != folder;
}

// One file may be larger than the free space, or its name may be in use by another user. So the
// folder is tried with an unnamed file of moderate size.
std::optional<Error> errorOfTrialFile(const std::string& folder) {
  TemporaryFile file;
  if (std::optional<Error> failure = file.open(folder)) return failure;
  const std::vector<char> bytes(kTrialSize);
  if (std::optional<Error> failure = file.write(bytes.data(), bytes.size())) return failure;
  return file.flush();
}

}  // namespace

std::optional<std::string> DestinationGate::closeFor(const PackageOutcome& outcome) {
  if (outcome.success || !outcome.request.localPath.empty()) return std::nullopt;
  if (!outcome.error || refusal()) return std::nullopt;
  std::optional<Error> error;
  if (hasVanished(outcome, folder_)) {
    error = outcome.error;
  } else if (isOfTheFolder(*outcome.error)) {
    error = errorOfTrialFile(folder_);
    if (!error || !isOfTheFolder(*error)) return std::nullopt;
  }
  if (!error) return std::nullopt;
  const std::lock_guard lock(mutex_);
  if (refusal_) return std::nullopt;
  refusal_ = error;
  refusal_->description = "not tried: " + error->description;
  return error->description;
}

std::optional<Error> DestinationGate::refusal() const {
  const std::lock_guard lock(mutex_);
  return refusal_;
}

}  // namespace tolvane
