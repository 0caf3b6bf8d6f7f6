// SPDX-License-Identifier: MIT
#include "cli/ProgressBar.h"

#include <algorithm>
#include <fmt/format.h>

namespace tolvane {

namespace {

constexpr int kWidth = 20;

}  // namespace

std::string progressBar(std::uint64_t completed, std::uint64_t total) {
  const double share =
      total == 0 ? 0 : std::min(1.0, static_cast<double>(completed) / static_cast<double>(total));
  const int filled = static_cast<int>(share * kWidth);
  return fmt::format("[{:<{}}] {:3}%", std::string(filled, '#'), kWidth,
                     static_cast<int>(share * 100));
}

}  // namespace tolvane
