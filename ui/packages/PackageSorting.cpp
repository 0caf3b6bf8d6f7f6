// SPDX-License-Identifier: MIT
#include "ui/packages/PackageSorting.h"

#include <QLocale>
#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/Text.h"
#include "ui/packages/CollationKeys.h"
#include "ui/packages/PackageTexts.h"

namespace tolvane {

namespace {

// In the locale "C" texts would compare by code point, all capitals first; English is used instead.
std::string sortingLanguage() {
  const QLocale locale;
  return locale.language() == QLocale::C ? "en" : locale.name().toStdString();
}

std::uint64_t sizeKey(const PackageEntry& package) {
  return static_cast<std::uint64_t>(integerValue(package.size()));
}

// Makes one key a package: comparing keys is far cheaper than making them.
template <typename MakeKey>
std::vector<PackageEntry> sortedByKeys(const std::vector<PackageEntry>& packages, bool ascending,
                                       MakeKey makeKey) {
  using Key = decltype(makeKey(packages.front()));
  std::vector<std::pair<Key, std::uint32_t>> rows;
  rows.reserve(packages.size());
  for (const PackageEntry& package : packages) {
    rows.emplace_back(makeKey(package), static_cast<std::uint32_t>(rows.size()));
  }
  std::stable_sort(rows.begin(), rows.end(), [&](const auto& left, const auto& right) {
    return ascending ? left.first < right.first : right.first < left.first;
  });
  std::vector<PackageEntry> sorted;
  sorted.reserve(packages.size());
  for (const auto& [key, row] : rows) sorted.push_back(packages[row]);
  return sorted;
}

}  // namespace

std::vector<PackageEntry> sortedPackages(const std::vector<PackageEntry>& packages,
                                         const SortDescriptor& descriptor) {
  if (descriptor.key == kSizeColumn) return sortedByKeys(packages, descriptor.ascending, sizeKey);
  CollationKeys keys(sortingLanguage());
  return sortedByKeys(packages, descriptor.ascending, [&](const PackageEntry& package) {
    return keys.keyOf(stringValueForPackage(package, descriptor.key));
  });
}

}  // namespace tolvane
