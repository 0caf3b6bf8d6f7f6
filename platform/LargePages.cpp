// SPDX-License-Identifier: MIT
#include "platform/LargePages.h"

#include <cstdint>
#include <sys/mman.h>

namespace tolvane {

void useLargePages([[maybe_unused]] void* begin, [[maybe_unused]] void* end) {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  const std::uintptr_t first =
      (reinterpret_cast<std::uintptr_t>(begin) + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) & ~(kLargePage - 1);
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#endif
}

}  // namespace tolvane
