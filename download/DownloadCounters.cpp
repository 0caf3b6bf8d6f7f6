// SPDX-License-Identifier: MIT
#include "download/DownloadCounters.h"

#include <fmt/format.h>

namespace tolvane {

std::string summaryText(const DownloadCounters& counters) {
  return fmt::format("Downloaded: {}  Verified: {}  Failed: {}  Validation failed: {}  Skipped: {}",
                     counters.downloaded, counters.verified, counters.failed,
                     counters.validationFailed, counters.skipped);
}

std::string progressText(const DownloadCounters& counters, std::uint64_t total) {
  return fmt::format("{} / {}   Verified: {}   Failed: {}   Validation failed: {}   Skipped: {}",
                     counters.completed(), total, counters.verified, counters.failed,
                     counters.validationFailed, counters.skipped);
}

}  // namespace tolvane
