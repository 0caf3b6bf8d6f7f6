// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// The longest text of an index, as UTF-8.
inline constexpr std::size_t kMaximumIndexSize = std::size_t{512} << 20;

// Unpacking of an index that was downloaded. Only the first member or stream is unpacked and bytes
// after its end are ignored. No value for anything else than a whole member: damaged or cut input,
// or more than maximumSize bytes of output. Throw std::bad_alloc where there is no memory for it.
//
// Memory is the output's size and what the library works with: some kilobytes for gzip, 4 MB for
// bzip2, for xz the dictionary that the file asks for, of which at most the output's size is used.

// RFC 1952; neither the zlib wrapper nor bare deflate data.
std::optional<std::string> unpackGzip(std::string_view bytes,
                                      std::size_t maximumSize = kMaximumIndexSize);
std::optional<std::string> unpackBzip2(std::string_view bytes,
                                       std::size_t maximumSize = kMaximumIndexSize);
// No value also where both the output and the dictionary exceed a fifth of kMaximumIndexSize.
std::optional<std::string> unpackXZ(std::string_view bytes,
                                    std::size_t maximumSize = kMaximumIndexSize);

}  // namespace tolvane
