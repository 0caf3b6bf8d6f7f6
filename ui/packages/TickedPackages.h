// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <cstddef>
#include <string>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// The key of a package's tick: "packageName|version|architecture|filename". Entries with the same
// four values share one tick.
std::string keyForPackage(const PackageEntry& package);

// The set of ticked packages, compared by their keys. It holds the packages themselves instead of
// key strings, so that ticking a whole repository allocates no strings.
class TickedPackages {
 public:
  void insert(const PackageEntry& package) { keys_.insert(keyOf(package)); }
  void insertAll(const std::vector<PackageEntry>& packages);
  void erase(const PackageEntry& package) { keys_.remove(keyOf(package)); }
  void clear() { keys_.clear(); }

  bool contains(const PackageEntry& package) const { return keys_.contains(keyOf(package)); }
  std::size_t size() const { return static_cast<std::size_t>(keys_.size()); }
  bool empty() const { return keys_.isEmpty(); }

 private:
  // With its hash, since reading another package's fields is a cache miss.
  struct Key {
    bool operator==(const Key& other) const;
    friend std::size_t qHash(const Key& key, std::size_t seed) { return key.hash ^ seed; }

    PackageEntry package;
    std::size_t hash;
  };

  static std::size_t hashOf(const PackageEntry& package);
  static Key keyOf(const PackageEntry& package) { return {package, hashOf(package)}; }

  QSet<Key> keys_;
};

}  // namespace tolvane
