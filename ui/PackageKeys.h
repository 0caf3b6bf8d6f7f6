// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <cstddef>
#include <string>

#include "model/PackageEntry.h"

namespace tolvane {

// What tells one package from another for ticking: "packageName|version|architecture|filename".
// Entries with the same four values share one tick.
std::string keyForPackage(const PackageEntry& package);

// A set of such keys. It holds the packages themselves, whose texts the keys are made of, so that
// ticking a whole repository makes no text.
class PackageKeys {
 public:
  void reserve(std::size_t count) { keys_.reserve(static_cast<qsizetype>(count)); }
  void insert(const PackageEntry& package) { keys_.insert(Key(package)); }
  void erase(const PackageEntry& package) { keys_.remove(Key(package)); }
  void clear() { keys_.clear(); }

  bool contains(const PackageEntry& package) const { return keys_.contains(Key(package)); }
  std::size_t size() const { return static_cast<std::size_t>(keys_.size()); }
  bool empty() const { return keys_.isEmpty(); }

 private:
  // With its hash, since a look at another package's texts is what costs most.
  struct Key {
    explicit Key(const PackageEntry& ticked);

    bool operator==(const Key& other) const;
    friend std::size_t qHash(const Key& key, std::size_t seed) { return key.hash ^ seed; }

    PackageEntry package;
    std::size_t hash;
  };

  QSet<Key> keys_;
};

}  // namespace tolvane
