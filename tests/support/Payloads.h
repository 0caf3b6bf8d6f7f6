// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace tolvane {

// Compressed payloads.
std::string gzipped(std::string_view bytes);
std::string zlibWrapped(std::string_view bytes);   // RFC 1950
std::string bareDeflated(std::string_view bytes);  // RFC 1951
std::string bzip2ed(std::string_view bytes);
std::string xzed(std::string_view bytes);
std::string xzedAtItsBest(std::string_view bytes);  // for a dictionary of 64 MiB

// A payload of which the reader needs a dictionary of two to the power of `logarithm` bytes.
std::string xzedWithDictionary(std::string_view bytes, unsigned logarithm);

// A gzip member that unpacks to `mebibytes` MiB of zeros. Takes little time for any size.
std::string gzipOfZeros(std::size_t mebibytes);

}  // namespace tolvane
