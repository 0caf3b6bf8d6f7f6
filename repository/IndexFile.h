// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "model/PackageEntry.h"
#include "model/RepositoryKind.h"

namespace tolvane {

inline constexpr std::string_view kIndexFileErrorDomain = "IndexFile";
inline constexpr int kIndexNotReadableError = 1;
inline constexpr int kIndexWithoutPackagesError = 2;

struct IndexFileResult {
  std::vector<PackageEntry> packages;  // at least one where there is no error
  std::optional<Error> error;
};

// Reads an index from a local file instead of a repository, and reports that on the log bus:
//
// - APT: unpacked by the ending of the path, ".gz", ".bz2" or ".xz"; otherwise plain.
// - Installer 3 and Installer 4: a property list.
// - Automatic: APT and, where that gives no package, Installer 4.
//
// Errors are the system's, EFBIG for a file of more than kMaximumIndexSize bytes and ENOMEM for
// want of memory among them; those of the property-list reader and of Installer3RepositoryFetcher;
// and the two of kIndexFileErrorDomain above.
IndexFileResult readIndexFile(const std::string& path, RepositoryKind kind);

}  // namespace tolvane
