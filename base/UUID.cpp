// SPDX-License-Identifier: MIT
#include "base/UUID.h"

#include <cstdint>
#include <fmt/format.h>
#include <random>

namespace tolvane {

std::string makeUUID() {
  std::random_device random;
  const auto number = [&random] { return std::uint64_t{random()} << 32 | random(); };
  const std::uint64_t high = (number() & ~std::uint64_t{0xF000}) | 0x4000;  // version 4
  const std::uint64_t low = number() >> 2 | std::uint64_t{1} << 63;         // variant 1
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32, high >> 16 & 0xFFFF,
                     high & 0xFFFF, low >> 48, low & 0xFFFF'FFFF'FFFF);
}

}  // namespace tolvane
