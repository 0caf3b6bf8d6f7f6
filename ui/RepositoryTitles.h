// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

#include "model/RepositoryKind.h"

namespace tolvane {

struct RepositoryTitle {
  RepositoryKind kind;
  std::string_view title;
};

// The items of the window's pop-up, in order.
inline constexpr std::array<RepositoryTitle, 4> kRepositoryTitles{{
    {RepositoryKind::apt, "Cydia / APT"},
    {RepositoryKind::automatic, "Auto-detect"},
    {RepositoryKind::installer4, "Installer 4"},
    {RepositoryKind::installer3, "Installer 3"},
}};

// The kind of that title; APT for any other.
constexpr RepositoryKind kindOfTitle(std::string_view title) {
  for (const RepositoryTitle& item : kRepositoryTitles) {
    if (item.title == title) return item.kind;
  }
  return RepositoryKind::apt;
}

}  // namespace tolvane
