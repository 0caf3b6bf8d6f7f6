// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <string>

namespace tolvane {

// Calls show(line) with the first 20 of the lines lineAt(0) to lineAt(count - 1), and with "and N
// more" for the rest.
template <typename LineAt, typename Show>
void showAtMost20(std::size_t count, LineAt lineAt, Show show) {
  constexpr std::size_t kMost = 20;
  for (std::size_t i = 0; i < std::min(count, kMost); ++i) show(lineAt(i));
  if (count > kMost) show(fmt::format("and {} more", count - kMost));
}

}  // namespace tolvane
