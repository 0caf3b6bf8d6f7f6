// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tolvane {

// What a download run counts. Each package ends as exactly one of downloaded, failed and skipped.
struct DownloadCounters {
  std::uint64_t downloaded = 0;
  std::uint64_t verified = 0;
  std::uint64_t failed = 0;
  std::uint64_t validationFailed = 0;
  std::uint64_t skipped = 0;

  // The packages that have ended.
  std::uint64_t completed() const { return downloaded + failed + skipped; }

  // Skipped files are no errors.
  bool hasErrors() const { return failed > 0 || validationFailed > 0; }
};

// "Downloaded: 1  Verified: 1  Failed: 0  Validation failed: 0  Skipped: 0"
std::string summaryText(const DownloadCounters& counters);

// "2 / 7   Verified: 1   Failed: 0   Validation failed: 0   Skipped: 1"
std::string progressText(const DownloadCounters& counters, std::uint64_t total);

}  // namespace tolvane
