// SPDX-License-Identifier: MIT
#include "ui/PackageSorting.h"

#include <QCollator>
#include <QLocale>
#include <algorithm>
#include <cstdint>
#include <numeric>

#include "platform/Text.h"
#include "ui/PackageTexts.h"
#include "ui/Strings.h"

namespace tolvane {

namespace {

// A process without a language compares by code point, which nobody calls sorted; it sorts as
// English does.
QCollator makeCollator() {
  const QLocale locale;
  QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
  collator.setCaseSensitivity(Qt::CaseInsensitive);
  return collator;
}

std::uint64_t sizeKey(const PackageEntry& package) {
  return static_cast<std::uint64_t>(integerValue(package.size()));
}

// Sorts by keys that are made once a package: comparing is far cheaper than making a key.
template <typename Key>
std::vector<PackageEntry> sortedByKeys(const std::vector<PackageEntry>& packages,
                                       const std::vector<Key>& keys, bool ascending) {
  std::vector<std::uint32_t> order(packages.size());
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
    return ascending ? keys[left] < keys[right] : keys[right] < keys[left];
  });
  std::vector<PackageEntry> sorted;
  sorted.reserve(packages.size());
  for (const std::uint32_t row : order) sorted.push_back(packages[row]);
  return sorted;
}

}  // namespace

std::vector<PackageEntry> sortedPackages(const std::vector<PackageEntry>& packages,
                                         const SortDescriptor& descriptor) {
  if (descriptor.key == kSizeColumn) {
    std::vector<std::uint64_t> keys;
    keys.reserve(packages.size());
    for (const PackageEntry& package : packages) keys.push_back(sizeKey(package));
    return sortedByKeys(packages, keys, descriptor.ascending);
  }
  const QCollator collator = makeCollator();
  std::vector<QCollatorSortKey> keys;
  keys.reserve(packages.size());
  for (const PackageEntry& package : packages) {
    keys.push_back(collator.sortKey(toQString(stringValueForPackage(package, descriptor.key))));
  }
  return sortedByKeys(packages, keys, descriptor.ascending);
}

}  // namespace tolvane
