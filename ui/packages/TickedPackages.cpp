// SPDX-License-Identifier: MIT
#include "ui/packages/TickedPackages.h"

#include <QVarLengthArray>
#include <algorithm>
#include <string_view>

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
  keys_.reserve(keys_.size() + static_cast<qsizetype>(packages.size()));
  for (const PackageEntry& package : packages) insert(package);
}

bool TickedPackages::Key::operator==(const Key& other) const {
  if (hash != other.hash) return false;
  if (package.isSameRecordAs(other.package)) return true;
  const bool same = std::all_of(
      std::begin(kKeyFields), std::end(kKeyFields),
      [&](const Field field) { return package.text(field) == other.package.text(field); });
  // Fields that contain a bar can make the same key in two ways.
  return same || keyForPackage(package) == keyForPackage(other.package);
}

}  // namespace tolvane
