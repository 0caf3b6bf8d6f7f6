// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

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

// append(), for a string that may grow to many megabytes. Where room lacks it doubles, to at most
// maximumSize, which the bytes have to keep to. The old memory is given back as fast as the new one
// is filled, so that not even then most of the string is in memory twice. Throws std::bad_alloc.
void appendLarge(std::string& text, std::string_view bytes, std::size_t maximumSize);

// The growth alone: reserve() for a string that already holds many megabytes.
void growLarge(std::string& text, std::size_t capacity);

}  // namespace tolvane
