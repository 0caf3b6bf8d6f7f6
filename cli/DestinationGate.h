// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "download/Outcome.h"

namespace tolvane {

// Closes when a package fails and the folder then takes no other file of a mebibyte either, because
// it is full, read-only or not ours. Any thread.
class DestinationGate {
 public:
  explicit DestinationGate(std::string folder) : folder_(std::move(folder)) {}

  // What the system says of the folder, where this outcome closes the gate.
  std::optional<std::string> closeFor(const PackageOutcome& outcome);

  // Of a transfer that has not started, once the gate is closed: the error that closed it, with
  // "not tried: " before its description.
  std::optional<Error> refusal() const;

 private:
  const std::string folder_;
  mutable std::mutex mutex_;
  std::optional<Error> refusal_;
};

}  // namespace tolvane
