// SPDX-License-Identifier: MIT
#include "ui/PackageStatistics.h"

#include <QHashFunctions>
#include <QSet>
#include <limits>
#include <string_view>

#include "platform/Text.h"
#include "ui/PackageWalk.h"

namespace tolvane {

namespace {

std::int64_t clampedSum(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(left, right, &sum)) return sum;
  return right < 0 ? std::numeric_limits<std::int64_t>::min()
                   : std::numeric_limits<std::int64_t>::max();
}

// The distinct ones among many texts that outlive it.
class DistinctTexts {
 public:
  explicit DistinctTexts(std::size_t count) { texts_.reserve(static_cast<qsizetype>(count)); }

  void add(std::string_view text) {
    if (text.empty()) return;
    texts_.insert({qHashBits(text.data(), text.size(), QHashSeed::globalSeed()), text});
  }
  std::size_t count() const { return static_cast<std::size_t>(texts_.size()); }

 private:
  // With its hash first, since a look at another text is what costs most.
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
  forEachPackage(packages, [&](const PackageEntry& package) {
    names.add(package.packageName());
    architectures.add(package.architecture());
    statistics.estimatedSize = clampedSum(statistics.estimatedSize, integerValue(package.size()));
  });
  statistics.unique = names.count();
  statistics.architectures = architectures.count();
  return statistics;
}

}  // namespace tolvane
