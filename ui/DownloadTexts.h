// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tolvane {

// What two download workflows say differently of the same run.
struct DownloadTexts {
  std::string progress;  // before the progress
  std::string finished;  // before the summary
  std::optional<std::size_t> alreadyPresent = std::nullopt;
};

}  // namespace tolvane
