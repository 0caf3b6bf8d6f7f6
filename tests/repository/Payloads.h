// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Packed payloads as servers store them.
std::string packGzip(std::string_view bytes);
std::string packZlib(std::string_view bytes);     // RFC 1950
std::string packDeflate(std::string_view bytes);  // RFC 1951
std::string packBzip2(std::string_view bytes);
std::string packXZ(std::string_view bytes);

// A gzip member that unpacks to `mebibytes` MiB of zeros, made in no time.
std::string gzipOfZeros(std::size_t mebibytes);

}  // namespace tolvane
