// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace tolvane {

// Memory that is about to be filled comes a small page at a time, which takes longer than filling
// it. This asks for large pages; what is never written to still costs nothing.
void useLargePages(void* begin, void* end);

// reserve(), for a string or a vector of many megabytes. Throws what that throws.
template <typename Container>
void reserveLarge(Container& container, std::size_t capacity) {
  container.reserve(capacity);
  useLargePages(container.data() + container.size(), container.data() + container.capacity());
}

}  // namespace tolvane
