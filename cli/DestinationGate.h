// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "download/Outcome.h"

namespace tolvane {

// Closes when a package shows that the folder takes no more files, because it is full, read-only or
// not ours: no later transfer of the run could end otherwise. Any thread.
class DestinationGate {
 public:
  // What the system says of the folder, where this outcome closes the gate.
  std::optional<std::string> closeFor(const PackageOutcome& outcome);

  // Of a transfer that has not started, once the gate is closed: the error that closed it, with
  // "not tried: " before its description.
  std::optional<Error> refusal() const;

 private:
  mutable std::mutex mutex_;
  std::optional<Error> refusal_;
};

}  // namespace tolvane
