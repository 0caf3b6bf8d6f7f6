// SPDX-License-Identifier: MIT
#include "ui/packages/TickedPackages.h"

#include <QVarLengthArray>
#include <algorithm>
#include <string_view>

#include "model/PackageWalk.h"

namespace tolvane {

namespace {

using Field = PackageEntry::Field;

constexpr Field kKeyFields[] = {Field::packageName, Field::version, Field::architecture,
                                Field::filename};

}  // namespace

std::string keyForPackage(const PackageEntry& package) {
  std::string key;
  for (const Field field : kKeyFields) {
    if (field != kKeyFields[0]) key += '|';
    key += package.text(field);
  }
  return key;
}

std::size_t TickedPackages::hashOf(const PackageEntry& package) {
  QVarLengthArray<char, 1024> text;
  for (const Field field : kKeyFields) {
    const std::string_view part = package.text(field);
    text.append(part.data(), static_cast<qsizetype>(part.size()));
    text.append('|');
  }
  return qHashBits(text.constData(), static_cast<std::size_t>(text.size()),
                   QHashSeed::globalSeed());
}

void TickedPackages::insertAll(const std::vector<PackageEntry>& packages) {
  const auto hashesOf = [](std::span<const PackageEntry> part) {
    std::vector<std::size_t> hashes;
    hashes.reserve(part.size());
    forEachPackage(part, [&](const PackageEntry& package) { hashes.push_back(hashOf(package)); });
    return hashes;
  };
  keys_.reserve(keys_.size() + static_cast<qsizetype>(packages.size()));
  auto package = packages.begin();
  for (const auto& hashes : inHalves(packages, hashesOf)) {
    for (const std::size_t hash : hashes) keys_.insert(Key{*package++, hash});
  }
}

bool TickedPackages::Key::operator==(const Key& other) const {
  if (hash != other.hash) return false;
  if (package.isSameRecordAs(other.package)) return true;
  const bool same = std::all_of(
      std::begin(kKeyFields), std::end(kKeyFields),
      [&](const Field field) { return package.text(field) == other.package.text(field); });
  // Texts with a bar in them can make one key in two ways.
  return same || keyForPackage(package) == keyForPackage(other.package);
}

}  // namespace tolvane
