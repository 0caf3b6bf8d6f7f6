// SPDX-License-Identifier: MIT
#include "ui/packages/PackageStatistics.h"

#include <QHashFunctions>
#include <QSet>
#include <algorithm>
#include <limits>
#include <string_view>

#include "base/Text.h"

namespace tolvane {

namespace {

// Cannot overflow, whatever the order of the sizes. Not standard C++, but GCC and Clang have it on
// every 64-bit target.
__extension__ using WideSum = __int128;

std::int64_t clamped(WideSum sum) {
  using Limits = std::numeric_limits<std::int64_t>;
  return static_cast<std::int64_t>(std::clamp<WideSum>(sum, Limits::min(), Limits::max()));
}

// Counts distinct strings, which outlive it.
class DistinctTexts {
 public:
  explicit DistinctTexts(std::size_t count) { texts_.reserve(static_cast<qsizetype>(count)); }

  void add(std::string_view text) {
    if (text.empty()) return;
    texts_.insert({qHashBits(text.data(), text.size(), QHashSeed::globalSeed()), text});
  }
  std::size_t count() const { return static_cast<std::size_t>(texts_.size()); }

 private:
  // Compares hashes first: reading another string is a cache miss.
  struct Text {
    std::size_t hash;
    std::string_view text;

    bool operator==(const Text& other) const = default;
    friend std::size_t qHash(const Text& text, std::size_t seed) { return text.hash ^ seed; }
  };

  QSet<Text> texts_;
};

}  // namespace

PackageStatistics PackageStatistics::of(const std::vector<PackageEntry>& packages) {
  PackageStatistics statistics;
  DistinctTexts names(packages.size());
  DistinctTexts architectures(0);  // few, however many packages there are
  WideSum size = 0;
  for (const PackageEntry& package : packages) {
    names.add(package.packageName());
    architectures.add(package.architecture());
    size += integerValue(package.size());
  }
  statistics.unique = names.count();
  statistics.architectures = architectures.count();
  statistics.estimatedSize = clamped(size);
  return statistics;
}

}  // namespace tolvane
