// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "download/Outcome.h"

namespace tolvane {

// Closes when a package fails and a trial file of 1 MiB cannot be written to the folder either,
// because it is full, read-only or may not be written to. Any thread.
class DestinationGate {
 public:
  explicit DestinationGate(std::string folder) : folder_(std::move(folder)) {}

  // The system's error for the folder, if this outcome closes the gate.
  std::optional<std::string> closeFor(const PackageOutcome& outcome);

  // The error for a transfer that has not started, once the gate is closed: the error that closed
  // it, with "not tried: " before its description. No value while the gate is open.
  std::optional<Error> refusal() const;

 private:
  const std::string folder_;
  mutable std::mutex mutex_;
  std::optional<Error> refusal_;
};

}  // namespace tolvane
