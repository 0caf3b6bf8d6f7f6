// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolvane {

// Unpacking of an index that was downloaded. Only the first member or stream is unpacked and bytes
// after its end are ignored. No value for anything else than a whole member: damaged or cut input,
// more than kMaximumUnpackedSize bytes of output, or no memory for it.
inline constexpr std::size_t kMaximumUnpackedSize = std::size_t{1} << 30;

std::optional<std::string> unpackGzip(std::string_view bytes);   // RFC 1952
std::optional<std::string> unpackBzip2(std::string_view bytes);
std::optional<std::string> unpackXZ(std::string_view bytes);

}  // namespace tolvane
