// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "cli/Console.h"
#include "download/Outcome.h"

namespace tolvane {

// The packages of a run that failed, and those whose files differ from the index, in the order in
// which they ended. Addresses are shown without passwords. Any thread.
class FailureReport {
 public:
  void add(const PackageOutcome& outcome);  // ignores successes

  // A plain line for each of the first 20, and one that says that invalid files stay in the folder.
  void show(Console& console, const std::string& folder) const;

  // All of them, each with `package`, `version`, `filename`, `url`, `reason`, `domain`, `code` and
  // `status`.
  nlohmann::ordered_json json() const;

 private:
  struct Failure {
    PackageEntry package;
    std::string url;  // "" if nothing was requested
    Error error;
    int status = 0;  // 0 without an answer
    bool invalid = false;

    std::string line() const;
  };

  mutable std::mutex mutex_;
  std::vector<Failure> failures_;
};

}  // namespace tolvane
