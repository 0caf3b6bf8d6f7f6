// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "model/PackageEntry.h"
#include "repository/PayloadDecoder.h"

// Reads an APT index, downloaded or from a file.
namespace tolvane {

// The text of an index's bytes: UTF-8 (a leading byte-order mark is dropped) or else ISO 8859-1.
// No value for a text of more than maximumSize bytes as UTF-8. Throws std::bad_alloc.
std::optional<std::string> decodeIndexText(std::string bytes,
                                           std::size_t maximumSize = kMaximumIndexSize);

// The same for bytes that are compressed where their file's name ends in ".gz", ".bz2" or ".xz". No
// value also for bytes that are not so compressed. Throws std::bad_alloc.
std::optional<std::string> decodeIndex(std::string bytes, std::string_view name,
                                       std::size_t maximumSize = kMaximumIndexSize);

struct PackagesIndex {
  std::optional<std::vector<PackageEntry>> packages;  // no value where it could not be decoded
  bool outOfMemory = false;                           // whether that is why there are none
};

// Decodes and parses an index, and logs the length of its text and the number of its packages.
PackagesIndex readPackagesIndex(std::string bytes, std::string_view name);

}  // namespace tolvane
