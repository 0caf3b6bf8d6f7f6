// SPDX-License-Identifier: MIT
#include "base/LargePages.h"

#include <algorithm>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace tolvane {

namespace {

// Gives back the whole pages between the two, whose contents are of no more use.
void releasePages([[maybe_unused]] char* begin, [[maybe_unused]] char* end) {
#ifdef MADV_DONTNEED
  static const auto page = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) / page * page;
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
#endif
}

}  // namespace

void useLargePages([[maybe_unused]] void* begin, [[maybe_unused]] void* end) {
#ifdef MADV_HUGEPAGE
  constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
  const std::uintptr_t first =
      (reinterpret_cast<std::uintptr_t>(begin) + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) & ~(kLargePage - 1);
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#endif
}

void appendLarge(std::string& text, std::string_view bytes, std::size_t maximumSize) {
  const std::size_t size = text.size() + bytes.size();
  if (size > text.capacity()) {
    growLarge(text, std::max(size, std::min(2 * text.capacity(), maximumSize)));
  }
  text.append(bytes);
}

void growLarge(std::string& text, std::size_t capacity) {
  constexpr std::size_t kStep = std::size_t{4} << 20;
  std::string larger;
  reserveLarge(larger, capacity);
  while (larger.size() < text.size()) {
    larger.append(text, larger.size(), kStep);
    // From the beginning each time, so that a large page is given back once all of it is copied.
    if (larger.size() >= kStep) releasePages(text.data(), text.data() + larger.size());
  }
  text = std::move(larger);
}

}  // namespace tolvane
