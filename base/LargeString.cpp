// SPDX-License-Identifier: MIT
#include "base/LargeString.h"

#include <algorithm>
#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace tolvane {

namespace {

constexpr std::size_t kPiece = std::size_t{4} << 20;
constexpr std::size_t kLargePage = std::size_t{2} << 20;

// madvise(2) for the whole pages of this size between the two addresses.
void advise(char* begin, char* end, std::size_t page, int advice) {
  const std::uintptr_t first = (reinterpret_cast<std::uintptr_t>(begin) + page - 1) / page * page;
  const std::uintptr_t last = reinterpret_cast<std::uintptr_t>(end) / page * page;
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, advice);
}

}  // namespace

void reserveLarge(std::string& text, std::size_t capacity) {
  if (capacity <= text.capacity()) return;
  std::string larger;
  larger.reserve(capacity);
  advise(larger.data(), larger.data() + larger.capacity(), kLargePage, MADV_HUGEPAGE);
  static const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  while (larger.size() < text.size()) {
    larger.append(text, larger.size(), kPiece);
    // From the beginning each time, so that a large page is given back once all of it is copied.
    if (larger.size() >= kPiece) {
      advise(text.data(), text.data() + larger.size(), page, MADV_DONTNEED);
    }
  }
  text = std::move(larger);
}

void appendLarge(std::string& text, std::string_view bytes, std::size_t maximumSize) {
  const std::size_t size = text.size() + bytes.size();
  if (size > text.capacity()) {
    reserveLarge(text, std::max(size, std::min(2 * text.capacity(), maximumSize)));
  }
  text.append(bytes);
}

}  // namespace tolvane
