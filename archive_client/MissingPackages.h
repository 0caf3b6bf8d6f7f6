// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// The packages that an archive lacks, one entry each, as its server sent them: objects with
// "identifier" and "version", unless it errs. Copies share the entries.
class MissingPackages {
 public:
  MissingPackages();
  explicit MissingPackages(std::vector<nlohmann::json> entries);

  // Every entry counts, also one that names no package.
  std::size_t size() const;
  bool empty() const { return size() == 0; }

  const std::vector<nlohmann::json>& entries() const { return *entries_; }

 private:
  std::shared_ptr<const std::vector<nlohmann::json>> entries_;
};

// For each entry the first package of the list with its "identifier" and "version", in the order of
// the entries. An absent member counts as ""; an entry that is not an object, or in which one of
// the two is not a string, matches nothing.
std::vector<PackageEntry> packagesForEntries(const MissingPackages& missing,
                                             const std::vector<PackageEntry>& packages);

}  // namespace tolvane
