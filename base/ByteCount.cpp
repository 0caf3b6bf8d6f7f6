// SPDX-License-Identifier: MIT
#include "base/ByteCount.h"

#include <array>
#include <cstddef>
#include <fmt/format.h>
#include <string_view>

namespace tolvane {

namespace {

constexpr std::array<std::string_view, 4> kUnits = {"KB", "MB", "GB", "TB"};
constexpr std::uint64_t kTenthsInNextUnit = 10'000;

std::uint64_t magnitudeOf(std::int64_t count) {
  const auto bits = static_cast<std::uint64_t>(count);
  return count < 0 ? 0 - bits : bits;
}

}  // namespace

std::string formattedByteCount(std::int64_t count) {
  if (count == 0) return "Zero KB";
  const std::string_view sign = count < 0 ? "-" : "";
  const std::uint64_t magnitude = magnitudeOf(count);
  if (magnitude < 1000) {
    return fmt::format("{}{} {}", sign, magnitude, magnitude == 1 ? "byte" : "bytes");
  }
  std::size_t unit = 0;
  std::uint64_t tenth = 100;  // of a unit, in bytes
  std::uint64_t tenths = (magnitude + tenth / 2) / tenth;
  while (tenths >= kTenthsInNextUnit && unit + 1 < kUnits.size()) {
    ++unit;
    tenth *= 1000;
    tenths = (magnitude + tenth / 2) / tenth;
  }
  const std::string decimal = tenths % 10 == 0 ? "" : fmt::format(".{}", tenths % 10);
  return fmt::format("{}{}{} {}", sign, tenths / 10, decimal, kUnits[unit]);
}

}  // namespace tolvane
