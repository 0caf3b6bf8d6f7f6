// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <cstddef>
#include <string>
#include <vector>

#include "model/PackageEntry.h"

namespace tolvane {

// What tells one package from another for ticking: "packageName|version|architecture|filename".
// Entries with the same four values share one tick.
std::string keyForPackage(const PackageEntry& package);

// A set of such keys. It holds the packages themselves, whose texts the keys are made of, so that
// ticking a whole repository makes no text.
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
  // With its hash, since a look at another package's texts is what costs most.
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
