// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace tolvane {

// Digests of one file in lower-case hexadecimal; those not asked for stay "".
struct FileDigests {
  std::string md5;     // RFC 1321, 32 digits
  std::string sha256;  // FIPS 180-4, 64 digits
};

struct DigestSelection {
  bool md5 = false;
  bool sha256 = false;
};

// Reads the file once, in chunks of 1 MiB, whatever is selected. No value when it cannot be
// opened or read to its end.
std::optional<FileDigests> digestsOfFile(const std::string& path, DigestSelection selection);

}  // namespace tolvane
