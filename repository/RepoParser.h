// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// Reads the text of a `Packages` index: stanzas of the control-file syntax of Debian Policy 5.1,
// with this program's leniency for hand-made files (see RepoParser.cpp).
class RepoParser {
 public:
  RepoParser() = delete;

  // An index of more records, some fifteen times those of a large distribution, gives none: a few
  // megabytes of tiny stanzas could otherwise need any amount of memory.
  static constexpr std::size_t kMaximumRecords = std::size_t{1} << 20;

  // The records in the order of the text: one for each stanza that has both a "Package" and a
  // "Filename" field, empty or not. Never fails; bad input yields fewer records, lack of memory
  // none. The records share the given text, so move it.
  static std::vector<PackageEntry> parsePackagesText(std::string text);

  // The same, but throws std::bad_alloc for lack of memory.
  static std::vector<PackageEntry> packagesInText(std::string text);
};

}  // namespace tolvane
