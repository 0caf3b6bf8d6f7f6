// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tolvane {

// reserve() and append() for strings of up to hundreds of megabytes.
//
// The memory is requested in large pages (MADV_HUGEPAGE of madvise(2)), since the page faults of
// small ones take a fifth of the processor time of reading an uncompressed index. And when a string
// grows, its old memory is given back to the system piece by piece as it is copied, so that its
// contents are never in memory twice. Reserved memory that is not written to costs nothing.

// Throws std::bad_alloc or std::length_error.
void reserveLarge(std::string& text, std::size_t capacity);

// The capacity doubles when it does not suffice, to at most maximumSize, within which the caller
// has to stay. Throws std::bad_alloc.
void appendLarge(std::string& text, std::string_view bytes, std::size_t maximumSize);

}  // namespace tolvane
