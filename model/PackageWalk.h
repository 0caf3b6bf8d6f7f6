// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <utility>

#include "base/SideBySide.h"
#include "model/PackageEntry.h"

namespace tolvane {

// Calls visit(package) for each, in order. The texts of a large repository are far away in memory;
// those of the packages to come are asked for while one is looked at, which halves the time.
template <typename Visit>
void forEachPackage(std::span<const PackageEntry> packages, Visit visit) {
  using Field = PackageEntry::Field;
  constexpr std::size_t kAhead = 8;
  constexpr Field kRead[] = {Field::packageName,        Field::displayName, Field::version,
                             Field::packageDescription, Field::author,      Field::maintainer,
                             Field::filename,           Field::size};
  for (std::size_t i = 0; i < packages.size(); ++i) {
    if (i + kAhead < packages.size()) {
      for (const Field field : kRead) __builtin_prefetch(packages[i + kAhead].text(field).data());
    }
    visit(packages[i]);
  }
}

// What work(packages) returns of the first half and of the second. For a large repository two
// threads do it at the same time, since reading all of one is waiting for memory most of the time.
template <typename Work>
auto inHalves(std::span<const PackageEntry> packages, Work work) {
  constexpr std::size_t kWorthAThread = 1000;
  const std::size_t half = packages.size() / 2;
  auto second = startBeside(half >= kWorthAThread, [=] { return work(packages.subspan(half)); });
  auto first = work(packages.first(half));
  return std::array{std::move(first), second.get()};
}

}  // namespace tolvane
