// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// Unpacking of an index that was downloaded. Only the first member or stream is unpacked and bytes
// after its end are ignored. No value for anything else than a whole member: damaged or cut input,
// more than maximumSize bytes of output, or no memory for it.
inline constexpr std::size_t kMaximumUnpackedSize = std::size_t{1} << 30;

// RFC 1952; neither the zlib wrapper nor bare deflate data.
std::optional<std::string> unpackGzip(std::string_view bytes,
                                      std::size_t maximumSize = kMaximumUnpackedSize);
std::optional<std::string> unpackBzip2(std::string_view bytes,
                                       std::size_t maximumSize = kMaximumUnpackedSize);
std::optional<std::string> unpackXZ(std::string_view bytes,
                                    std::size_t maximumSize = kMaximumUnpackedSize);

}  // namespace tolvane
