// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// The longest text of an index, as UTF-8.
inline constexpr std::size_t kMaximumIndexSize = std::size_t{512} << 20;

// Decompression of an index. Only the first member or stream is decompressed and bytes after its
// end are ignored. No value for damaged or cut input, or for more than maximumSize bytes of output.
// Throws std::bad_alloc.
//
// Memory is the output's size and the library's working memory: some kilobytes for gzip, 4 MB for
// bzip2, for xz the dictionary of the size that the file gives, of which at most the output's size
// is touched.

// RFC 1952; neither the zlib wrapper nor bare deflate data.
std::optional<std::string> unpackGzip(std::string_view bytes,
                                      std::size_t maximumSize = kMaximumIndexSize);
std::optional<std::string> unpackBzip2(std::string_view bytes,
                                       std::size_t maximumSize = kMaximumIndexSize);
// No value also where both the output and the dictionary exceed a fifth of kMaximumIndexSize.
std::optional<std::string> unpackXZ(std::string_view bytes,
                                    std::size_t maximumSize = kMaximumIndexSize);

}  // namespace tolvane
